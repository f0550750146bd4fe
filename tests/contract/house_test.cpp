#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

// The house's own rules, read from the sources: which room may include which, how long a file may get, and
// how little may lie about outside of the inner rooms.

namespace {

namespace fs = std::filesystem;

const fs::path root = KYR_SOURCE_DIR;
const std::vector<std::string> rooms{"host", "client", "plugin", "till", "stand", "tests", "bench"};

// What each room may include besides itself and libraries; tests and benches may include everything.
const std::map<std::string, std::set<std::string>> allowed{
    {"host", {}}, {"client", {"host"}}, {"plugin", {"client", "host"}}, {"till", {"host"}}, {"stand", {}}};
// The same of the inner rooms; what lies loose in a house may use all of it.
const std::map<std::string, std::set<std::string>> allowedInside{
    {"host/log4qt", {}},
    {"host/utils", {}},
    {"host/core", {"host/utils"}},
    {"host/storage", {"host/core", "host/utils"}},
    {"host/network", {"host/utils"}},
    {"host/queue", {"host/network", "host/storage", "host/utils"}},
    {"host/shop", {"host/core", "host/queue", "host/network", "host/storage", "host/utils"}},
    {"till/goods", {}},
    {"till/cli", {}},
    {"till/setup", {"till/cli"}},
    {"till/checkout", {"till/setup", "till/cli"}},
    {"till/audit", {"till/checkout", "till/setup", "till/cli"}},
    {"till/scenario", {"till/audit", "till/checkout", "till/setup", "till/cli"}},
    {"till/admin", {"till/audit", "till/checkout", "till/goods", "till/setup", "till/cli"}},
    {"till/conformance", {"till/audit", "till/checkout", "till/setup", "till/cli"}},
    {"till/window", {"till/audit", "till/checkout", "till/goods", "till/setup", "till/cli"}},
    {"stand/http", {}},
    {"stand/books", {}},
    {"stand/service", {"stand/books", "stand/http"}},
    {"stand/faults", {"stand/http"}},
    {"stand/pages", {"stand/service", "stand/faults", "stand/books", "stand/http"}},
    {"stand/replay", {"stand/http"}},
    {"stand/program", {"stand/service", "stand/faults", "stand/books"}},
};
const std::set<std::string> housesWithRooms{"host", "till", "stand"};
// The exception type is shared by the client, which throws it, and the adapter, which owns it.
const std::string exceptionType = "plugin/kyrloyaltyexception.h";

std::vector<fs::path> sources(const std::string& room)
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root / room)) {
        const auto extension = entry.path().extension();
        if (extension == ".h" || extension == ".cpp")
            files.push_back(entry.path());
    }
    return files;
}

std::vector<std::string> linesOf(const fs::path& file)
{
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// The room that an include line names, or nothing when it names a library's header.
std::string roomOf(const std::string& included)
{
    const std::string first = included.substr(0, included.find('/'));
    return std::find(rooms.begin(), rooms.end(), first) == rooms.end() ? "" : first;
}

/// The inner room of a path from the root, "till/window" of "till/window/panels/x.h"; nothing for what lies
/// loose.
std::string innerRoomOf(const std::string& path)
{
    const auto first = path.find('/');
    const auto second = path.find('/', first + 1);
    return second == std::string::npos ? "" : path.substr(0, second);
}

/// The project's header that the line includes, or nothing. `quoted` headers without a known room are
/// reported as they stand: every include is written from the root.
std::string includedBy(const std::string& line)
{
    static const std::regex include(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    std::smatch match;
    if (!std::regex_search(line, match, include))
        return "";
    const std::string header = match[2];
    return match[1] == "\"" || !roomOf(header).empty() ? header : "";
}

std::vector<std::string> violations(const std::string& room, const std::string& line)
{
    const std::string header = includedBy(line);
    const std::string target = roomOf(header);
    if (header.empty() || target == room || (room == "client" && header == exceptionType))
        return {};
    return allowed.at(room).contains(target) ? std::vector<std::string>{} : std::vector<std::string>{header};
}

/// The header that the line includes although the inner room of `file` may not; both from the root.
std::vector<std::string> innerViolations(const std::string& file, const std::string& line)
{
    const std::string header = includedBy(line);
    const std::string room = innerRoomOf(file);
    const std::string target = innerRoomOf(header);
    if (room.empty() || target == room || roomOf(header) != roomOf(file))
        return {};
    return allowedInside.at(room).contains(target) ? std::vector<std::string>{}
                                                   : std::vector<std::string>{header};
}

class House : public testing::TestWithParam<std::string>
{};

TEST_P(House, RoomIncludesOnlyWhatItMay)
{
    const auto files = sources(GetParam());
    EXPECT_FALSE(files.empty());
    for (const auto& file : files) {
        for (const auto& line : linesOf(file)) {
            EXPECT_THAT(violations(GetParam(), line), testing::IsEmpty()) << file << ": " << line;
        }
    }
}

TEST_P(House, InnerRoomIncludesOnlyWhatItMay)
{
    if (!housesWithRooms.contains(GetParam()))
        return;
    for (const auto& file : sources(GetParam())) {
        for (const auto& line : linesOf(file))
            EXPECT_THAT(innerViolations(fs::relative(file, root), line), testing::IsEmpty())
                << file << ": " << line;
    }
}

TEST_P(House, HasLittleLyingLoose)
{
    if (!housesWithRooms.contains(GetParam()))
        return;
    std::set<std::string> loose;
    for (const auto& file : sources(GetParam())) {
        if (innerRoomOf(fs::relative(file, root)).empty())
            loose.insert(file.filename());
    }
    EXPECT_LE(loose.size(), 3U) << testing::PrintToString(loose);
}

TEST_P(House, RoomHasNoFileThatNeedsATableOfContents)
{
    const std::size_t longest = GetParam() == "client" || GetParam() == "plugin" ? 250 : 400;
    for (const auto& file : sources(GetParam()))
        EXPECT_LE(linesOf(file).size(), longest) << file;
}

INSTANTIATE_TEST_SUITE_P(Rooms, House, testing::Values("host", "client", "plugin", "till", "stand"),
                         [](const auto& room) { return room.param; });

TEST(HouseRules, CatchAnIncludeAgainstTheTable)
{
    EXPECT_THAT(violations("till", "#include \"plugin/kyrloyalty.h\""), testing::SizeIs(1));
    EXPECT_THAT(violations("till", "  #  include <client/texts.h>"), testing::SizeIs(1));
    EXPECT_THAT(violations("host", "#include \"client/texts.h\""), testing::SizeIs(1));
    EXPECT_THAT(violations("stand", "#include \"host/utils/tr.h\""), testing::SizeIs(1));
    EXPECT_THAT(violations("client", "#include \"plugin/kyrloyalty.h\""), testing::SizeIs(1));
    EXPECT_THAT(violations("till", "#include \"../plugin/kyrloyalty.h\""), testing::SizeIs(1));
    EXPECT_THAT(violations("plugin", "#include \"texts.h\""), testing::SizeIs(1));
}

TEST(HouseRules, CatchAnIncludeThroughAnInnerWall)
{
    EXPECT_THAT(innerViolations("till/checkout/till.cpp", "#include \"till/window/checkoutmodel.h\""),
                testing::SizeIs(1));
    EXPECT_THAT(innerViolations("host/core/card.h", "#include \"host/storage/store.h\""), testing::SizeIs(1));
    EXPECT_THAT(innerViolations("till/cli/help.cpp", "#include \"till/commands.h\""), testing::SizeIs(1));
    EXPECT_THAT(innerViolations("till/cli/help.cpp", "#include \"host/utils/tr.h\""), testing::IsEmpty());
    EXPECT_THAT(innerViolations("till/window/panels/a.h", "#include \"till/window/checkoutmodel.h\""),
                testing::IsEmpty());
    EXPECT_THAT(innerViolations("till/commands.cpp", "#include \"till/window/commands.h\""),
                testing::IsEmpty());
}

TEST(HouseRules, LetPassWhatTheTableAllows)
{
    EXPECT_THAT(violations("till", "#include \"host/core/dialog.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("client", "#include \"plugin/kyrloyaltyexception.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("plugin", "#include \"client/texts.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("stand", "#include <QSqlDatabase>"), testing::IsEmpty());
    EXPECT_THAT(violations("host", "// #include \"client/texts.h\""), testing::IsEmpty());
}

} // namespace
