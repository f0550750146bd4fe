#include <gmock/gmock.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

// Whether the pages for those who change the sources still name what is there.

namespace {

namespace fs = std::filesystem;

const fs::path root = KYR_SOURCE_DIR;

std::string contentOf(const fs::path& file)
{
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The paths in backticks: what begins with a folder's name and a slash. `<name>` and `*` end one, since what
/// follows is for the reader to put in, and so does a blank: arguments follow.
std::vector<std::string> pathsIn(const std::string& page)
{
    static const std::regex path(R"(`([\w.-]+/[^`<*\s]*)[^`\n]*`)");
    std::vector<std::string> paths;
    for (auto at = std::sregex_iterator(page.begin(), page.end(), path); at != std::sregex_iterator(); ++at)
        paths.push_back((*at)[1]);
    return paths;
}

/// The tests in backticks, as a source has them: "TillReturn, WhatCannotBeReturnedIsSaid)".
std::vector<std::string> testsIn(const std::string& page)
{
    static const std::regex name("`([A-Z]\\w+)\\.([A-Z]\\w+)`");
    std::vector<std::string> tests;
    for (auto at = std::sregex_iterator(page.begin(), page.end(), name); at != std::sregex_iterator(); ++at)
        tests.push_back((*at)[1].str() + ", " + (*at)[2].str() + ")");
    return tests;
}

/// Where the links and pictures of a page lead, but for those into the world.
std::vector<std::string> linksIn(const std::string& page)
{
    static const std::regex link(R"(\]\(([^)\s]+)\))");
    std::vector<std::string> links;
    for (auto at = std::sregex_iterator(page.begin(), page.end(), link); at != std::sregex_iterator(); ++at) {
        if (!(*at)[1].str().starts_with("http"))
            links.push_back((*at)[1]);
    }
    return links;
}

/// The anchors that a page has: its headings in small letters, without punctuation, blanks as dashes.
std::vector<std::string> anchorsOf(const std::string& page)
{
    static const std::regex heading("(^|\n)#+ +([^\n]+)");
    std::vector<std::string> anchors;
    for (auto at = std::sregex_iterator(page.begin(), page.end(), heading); at != std::sregex_iterator();
         ++at) {
        std::string anchor;
        for (const char c : (*at)[2].str()) {
            if (c == ' ' || c == '-' || c == '_')
                anchor += c == ' ' ? '-' : c;
            else if (std::isalnum(static_cast<unsigned char>(c)) != 0)
                anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        anchors.push_back(anchor);
    }
    return anchors;
}

/// Every page of the repository, but for what is built.
std::vector<fs::path> pages()
{
    std::vector<fs::path> all;
    for (auto at = fs::recursive_directory_iterator(root); at != fs::recursive_directory_iterator(); ++at) {
        const std::string name = at->path().filename().string();
        if (at->is_directory() && (name == "build" || name == ".git" || name == "node_modules"))
            at.disable_recursion_pending();
        else if (at->path().extension() == ".md")
            all.push_back(at->path());
    }
    return all;
}

/// All sources of the tests in one text.
std::string testSources()
{
    std::string all;
    for (const auto& entry : fs::recursive_directory_iterator(root / "tests")) {
        if (entry.path().extension() == ".cpp")
            all += contentOf(entry.path());
    }
    return all;
}

/// Whether it is there, as it stands or with the ending that a pair of sources has. What is built may not be.
bool exists(const std::string& path)
{
    return path.starts_with("build/") || fs::exists(root / path) || fs::exists(root / (path + ".h"));
}

class Page : public testing::TestWithParam<std::string>
{};

TEST_P(Page, NamesOnlyPathsThatExist)
{
    const auto paths = pathsIn(contentOf(root / GetParam()));
    EXPECT_THAT(paths, testing::Not(testing::IsEmpty()));
    for (const auto& path : paths)
        EXPECT_TRUE(exists(path)) << path;
}

TEST_P(Page, NamesOnlyTestsThatExist)
{
    const std::string sources = testSources();
    for (const auto& test : testsIn(contentOf(root / GetParam())))
        EXPECT_NE(sources.find("(" + test), std::string::npos) << test;
}

INSTANTIATE_TEST_SUITE_P(ForThoseWhoChangeIt, Page,
                         testing::Values("CONTRIBUTING.md", "docs/architecture.md"), [](const auto& page) {
                             return std::regex_replace(page.param, std::regex("\\W"), "_");
                         });

TEST(Links, AndPicturesOfEveryPageLeadSomewhere)
{
    int seen = 0;
    for (const auto& page : pages()) {
        const std::string content = contentOf(page);
        for (const auto& link : linksIn(content)) {
            ++seen;
            const auto hash = link.find('#');
            const std::string file = link.substr(0, hash);
            const fs::path target = file.empty() ? page : page.parent_path() / file;
            EXPECT_TRUE(fs::exists(target)) << page << ": " << link;
            if (hash != std::string::npos && fs::is_regular_file(target)) {
                EXPECT_THAT(anchorsOf(contentOf(target)), testing::Contains(link.substr(hash + 1)))
                    << page << ": " << link;
            }
        }
    }
    EXPECT_GT(seen, 30);
}

TEST(Links, AndAnchorsAreFoundAsAReaderFindsThem)
{
    EXPECT_THAT(linksIn("[a](b.md#c) ![d](e.png) [f](https://g)"), testing::ElementsAre("b.md#c", "e.png"));
    EXPECT_THAT(anchorsOf("# The stand\ntext # no\n## Let it, go-wrong!\n"),
                testing::ElementsAre("the-stand", "let-it-go-wrong"));
}

TEST(PageNames, OfTestsAreASuiteAndAName)
{
    EXPECT_THAT(testsIn("`Suite.Name`, not `Due.*`, `a.cpp` or Suite.Name"),
                testing::ElementsAre("Suite, Name)"));
}

TEST(PageNames, OfPathsAreWhatBackticksHoldWithASlash)
{
    EXPECT_THAT(
        pathsIn("`host/core` and `till/admin/<name>.cpp`, not `queue list`, till/x, `a.cpp` or `\n/`"),
        testing::ElementsAre("host/core", "till/admin/"));
    EXPECT_THAT(pathsIn("`./test asan`"), testing::ElementsAre("./test"));
    EXPECT_TRUE(exists("./test"));
    EXPECT_TRUE(exists("till/checkout/state"));
    EXPECT_FALSE(exists("till/checkout/stat"));
}

} // namespace
