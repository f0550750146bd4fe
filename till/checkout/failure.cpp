#include "till/checkout/failure.h"

#include "host/utils/basicexception.h"

namespace till {

void fail(const QString& text) { throw BasicException(tr::Tr({}, text)); }

} // namespace till
