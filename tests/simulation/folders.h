#pragma once

#include "tests/simulation/dice.h"
#include "tests/simulation/disk.h"

#include <optional>
#include <string>
#include <string_view>

namespace simulation {

/// The names on the simulated disk: that one was made, moved or removed is durable only once its folder was
/// synced. There is one in a process; what is done, `calls.cpp` tells.
class Folders
{
public:
    /// From now on those below that folder, all of which are durable; an empty name: none.
    static void watch(const QString& folder);

    /// While it lives, whoever works there is not of the simulation.
    class Aside
    {
    public:
        Aside();
        ~Aside();
        Aside(const Aside&) = delete;
        Aside& operator=(const Aside&) = delete;
    };

    /// Whether it is of the simulation.
    static bool has(std::string_view path);
    /// The path of what is open; empty: it is not of the simulation.
    static std::string pathOf(int file);

    static void made(const std::string& path);
    /// `lost` is the content of the file whose place was taken, if there was one.
    static void moved(const std::string& from, const std::string& to, const std::optional<QByteArray>& lost);
    static void removed(const std::string& path, const QByteArray& content);
    /// All names in the folder are durable.
    static void synced(const std::string& folder);

    /// What of the files in the folder has which name after a power cut: of what was not synced, each change
    /// may be there or not.
    static Files afterPowerCut(const QString& directory, const Files& present, Dice& dice);
};

} // namespace simulation
