#include "till/checkout/refusal.h"

#include <stdexcept>

namespace till {

void refuse(const QString& text) { throw std::runtime_error(text.toStdString()); }

} // namespace till
