#include "host/utils/currenttime.h"

template class MockFactory<CurrentTime>;

CurrentTime::~CurrentTime() = default;

QDateTime CurrentTime::currentDateTime() const { return QDateTime::currentDateTime(); }
