#include "till/checkout/refusal.h"

#include "host/utils/basicexception.h"

namespace till {

void refuse(const QString& text) { throw BasicException(tr::Tr({}, text)); }

} // namespace till
