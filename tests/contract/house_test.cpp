#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

// The house's own rules, read from the sources: which room may include which, and how long a file may get.

namespace {

namespace fs = std::filesystem;

const fs::path root = KYR_SOURCE_DIR;
const std::vector<std::string> rooms{"host", "client", "plugin", "till", "stand", "tests", "bench"};

// What each room may include besides itself and libraries; tests and benches may include everything.
const std::map<std::string, std::set<std::string>> allowed{
    {"host", {}}, {"client", {"host"}}, {"plugin", {"client", "host"}}, {"till", {"host"}}, {"stand", {}}};
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

TEST(HouseRules, LetPassWhatTheTableAllows)
{
    EXPECT_THAT(violations("till", "#include \"host/core/dialog.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("client", "#include \"plugin/kyrloyaltyexception.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("plugin", "#include \"client/texts.h\""), testing::IsEmpty());
    EXPECT_THAT(violations("stand", "#include <QSqlDatabase>"), testing::IsEmpty());
    EXPECT_THAT(violations("host", "// #include \"client/texts.h\""), testing::IsEmpty());
}

} // namespace
