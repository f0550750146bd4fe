#include <gmock/gmock.h>

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
