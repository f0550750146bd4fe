#pragma once

#include <QColor>

namespace windowtest {

/// How much the colours stand out against each other, from 1 to 21, as the accessibility guidelines of the
/// web reckon it.
double contrast(const QColor& one, const QColor& other);

} // namespace windowtest
