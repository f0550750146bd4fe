#pragma once

#include <QString>

namespace tilltest {

/// Flips one bit of that sealed content in the store of the data directory, as a bad disk does.
void flipABit(const QString& directory, const QString& table, const QString& column,
              const QString& condition);

} // namespace tilltest
