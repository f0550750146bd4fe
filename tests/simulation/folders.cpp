#include "tests/simulation/folders.h"

#include <map>
#include <unistd.h>
#include <vector>

namespace simulation {

namespace {

/// A change of a folder that may not be on the medium yet.
struct NameChange
{
    QString from;                         ///< that is no more; empty: a new file
    QString to;                           ///< that is there; empty: the file was removed
    std::optional<QByteArray> lost = {};  ///< of what was removed, or had the name `to` before
    std::optional<QByteArray> moved = {}; ///< of what has it now; while afterPowerCut() looks
};

struct World
{
    std::string watched; ///< with a slash behind; empty: nothing
    int aside = 0;
    std::map<std::string, std::vector<NameChange>> changes; ///< by folder
};

World& world()
{
    static World only;
    return only;
}

QString lastPartOf(const std::string& path)
{
    return QString::fromStdString(path.substr(path.rfind('/') + 1));
}

void note(const std::string& path, NameChange change)
{
    world().changes[path.substr(0, path.rfind('/'))].push_back(std::move(change));
}

} // namespace

void Folders::watch(const QString& folder)
{
    world() = {};
    if (!folder.isEmpty())
        world().watched = folder.toStdString() + '/';
}

Folders::Aside::Aside() { ++world().aside; }
Folders::Aside::~Aside() { --world().aside; }

bool Folders::has(std::string_view path)
{
    // The index beside a log is made anew by whoever comes first.
    return world().aside == 0 && !world().watched.empty() && path.starts_with(world().watched) &&
           !path.ends_with("-shm");
}

std::string Folders::pathOf(int file)
{
    if (world().aside > 0 || world().watched.empty() || file <= STDERR_FILENO)
        return {};
    std::string path(4096, '\0');
    const ssize_t length =
        readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return has(path) ? path : std::string();
}

void Folders::made(const std::string& path) { note(path, {.from = {}, .to = lastPartOf(path)}); }

void Folders::moved(const std::string& from, const std::string& to, const std::optional<QByteArray>& lost)
{
    note(to, {.from = lastPartOf(from), .to = lastPartOf(to), .lost = lost});
}

void Folders::removed(const std::string& path, const QByteArray& content)
{
    note(path, {.from = lastPartOf(path), .to = {}, .lost = content});
}

void Folders::synced(const std::string& folder) { world().changes.erase(folder); }

Files Folders::afterPowerCut(const QString& directory, const Files& present, Dice& dice)
{
    const auto found = world().changes.find(directory.toStdString());
    if (found == world().changes.end())
        return present;
    Files files = present;
    std::vector<NameChange> changes = found->second;
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        if (!change->to.isEmpty())
            change->moved = files.take(change->to);
        if (!change->from.isEmpty())
            files.insert(change->from, change->to.isEmpty() ? change->lost.value() : change->moved.value());
        if (!change->to.isEmpty() && change->lost)
            files.insert(change->to, *change->lost);
    }
    const int percent = dice.below(3) * 50; // nothing, half, all
    for (const NameChange& change : changes) {
        if (dice.below(100) >= percent)
            continue;
        if (!change.from.isEmpty())
            files.remove(change.from);
        if (!change.to.isEmpty())
            files.insert(change.to, change.moved.value());
    }
    return files;
}

} // namespace simulation
