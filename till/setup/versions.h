#pragma once

#include <QList>
#include <QString>

namespace till {

/// A piece of software that takes part in this process.
struct Version
{
    QString name;
    QString number; ///< as it runs
    QString built;  ///< what the till was built with; empty: the same, or not told
};

/// The till itself first. SQLite's needs an application object.
QList<Version> versions();

/// A line for each: "Qt 6.4.2, built with 6.4.2".
QString versionText();

} // namespace till
