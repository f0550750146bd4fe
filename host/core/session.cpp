#include "host/core/session.h"

template class Singleton<Session>;

Registry::~Registry() = default;

Session::~Session() = default;
