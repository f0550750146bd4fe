#pragma once

#include "tests/simulation/story.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <string>

namespace simulation {

/// The files of a folder, by name.
using Files = QMap<QString, QByteArray>;

/// The disk under SQLite for files in one folder: it knows what was written since the last sync, fails or is
/// full when fate wants it, and takes nothing any more from a till that is dead. There is one in a process;
/// other folders are none of its business.
class Disk
{
public:
    /// For everything in or below that folder.
    static void install(const QString& folder);

    /// The data directory as a process that is killed now leaves it.
    static Files filesOf(const QString& directory);
    /// The same, where of what was not synced each sector of 512 bytes may be there or not.
    static Files filesAfterPowerCut(const QString& directory, std::uint64_t dice);
    /// What else is done with files beside SQLite: what was not synced of the one goes by another name as
    /// well, it is synced or no more there, it got more at its end.
    static void named(const std::string& from, const std::string& to);
    static void forget(const std::string& path);
    static void appended(const std::string& path, const QByteArray& bytes);
    /// Puts them in the place of what is there. Nobody may have any of them open.
    static void restore(const QString& directory, const Files& files);
};

} // namespace simulation
