#pragma once

#include "host/utils/export.h"

#include <QList>
#include <QString>
#include <QVariant>

namespace utils {

/// A value that a configuration file holds.
struct ConfigEntry
{
    QString key;    ///< "Table:key"
    QVariant value; ///< text, whole number of 32 bits, or true and false; invalid: anything else
    int line;       ///< from 1
};

/// What a configuration file holds, in its order; or why that can't be told.
struct ConfigContent
{
    QList<ConfigEntry> entries = {};
    QString problem = {}; ///< in English for the administrator, without any value; empty: none
    int line = 0;         ///< of the problem; 0: the file as a whole
};

/// Reads a file in TOML.
[[nodiscard]] HOST_EXPORT ConfigContent readConfigFile(const QString& fileName);

/// "till.toml:3", or the file alone for line 0.
[[nodiscard]] HOST_EXPORT QString placeInFile(const QString& fileName, int line);

} // namespace utils
