#include "till/checkout/failure.h"

#include "host/utils/basicexception.h"

namespace till {

void fail(const tr::Tr& text) { throw BasicException(text); }

} // namespace till
