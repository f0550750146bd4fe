#pragma once

#include <QString>

namespace Log4Qt {

/// What the lines of a thread have in common, under keys, beside their texts: the part of Log4Qt's class that
/// the project calls. Each thread has its own, which begins empty.
class __attribute__((visibility("default"))) MDC
{
public:
    /// Null when there is nothing under that key.
    static QString get(const QString& key);
    /// Takes the place of what was there.
    static void put(const QString& key, const QString& value);
    /// Fine when there is nothing.
    static void remove(const QString& key);
};

} // namespace Log4Qt
