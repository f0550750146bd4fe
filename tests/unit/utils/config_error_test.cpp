#include "tests/unit/utils/configfile.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class ConfigComplaint : public ConfigFile
{
protected:
    /// What set() complains of; empty when it takes the value.
    std::string complaintOfSet(const QString& key, const QVariant& value)
    {
        try {
            m_config.set(key, value);
        } catch (const ConfigError& error) {
            return error.what();
        }
        return {};
    }
};

constexpr const char* knownKeys = "Service:password, Service:timeout, Service:enabled, Service:proxy:host";

TEST_F(ConfigComplaint, OfAnUnknownKeyNamesFileLineKeyAndTheKnownOnes)
{
    EXPECT_EQ(complaint("\n[Service]\n# comment\npasword = 'secret'\n"),
              std::string("FILE:4: Service:pasword: unknown key; expected one of ") + knownKeys);
}

TEST_F(ConfigComplaint, OfAKeyInTheWrongCaseSuggestsTheRightOne)
{
    EXPECT_EQ(complaint("[service]\nTimeOut = 1\n"),
              "FILE:2: service:TimeOut: unknown key; did you mean Service:timeout? (case counts)");
}

TEST_F(ConfigComplaint, OfAKeyOutsideOfATableNamesIt)
{
    EXPECT_THAT(complaint("timeout = 1\n"), StartsWith("FILE:1: timeout: unknown key;"));
}

TEST_F(ConfigComplaint, OfAKeyInAnUnknownNestedTableNamesThePath)
{
    EXPECT_THAT(complaint("[Service.proxy.more]\n\nhost = 'x'\n"),
                StartsWith("FILE:3: Service:proxy:more:host: unknown key;"));
}

TEST_F(ConfigComplaint, OfAQuotedColonDoesNotTakeItForATable)
{
    EXPECT_THAT(complaint("\"Service:timeout\" = 1\n"),
                StartsWith("FILE:1: \"Service:timeout\": unknown key;"));
    EXPECT_EQ(timeout(), -7);
}

TEST_F(ConfigComplaint, OfAKeyWithoutALetterNamesIt)
{
    EXPECT_THAT(complaint("'' = 1\n"), StartsWith("FILE:1: \"\": unknown key;"));
    EXPECT_THAT(complaint("[Service]\n'' = 1\n"), StartsWith("FILE:2: Service:\"\": unknown key;"));
}

struct WrongType
{
    const char* name;
    const char* line;
    const char* expected;
};

class ConfigComplaintOfType : public ConfigFile, public testing::WithParamInterface<WrongType>
{};

TEST_P(ConfigComplaintOfType, NamesWhatWasExpected)
{
    EXPECT_EQ(complaint(QByteArray("# first\n[Service]\n") + GetParam().line),
              std::string("FILE:3: Service:") + GetParam().expected);
}

constexpr const char* noText = "password: expected a text in quotes: the till's password";
constexpr const char* noNumber = "timeout: expected a whole number: seconds, such as 10";
constexpr const char* noFlag = "enabled: expected true or false: whether it is asked";

INSTANTIATE_TEST_SUITE_P(Each, ConfigComplaintOfType,
                         testing::Values(WrongType{"NumberForText", "password = 123456", noText},
                                         WrongType{"FlagForText", "password = true", noText},
                                         WrongType{"DateForText", "password = 2024-01-31", noText},
                                         WrongType{"ListForText", "password = ['a', 'b']", noText},
                                         WrongType{"EmptyTableForText", "password = {}", noText},
                                         WrongType{"TextForNumber", "timeout = '10'", noNumber},
                                         WrongType{"FlagForNumber", "timeout = false", noNumber},
                                         WrongType{"FractionForNumber", "timeout = 10.0", noNumber},
                                         WrongType{"InfinityForNumber", "timeout = inf", noNumber},
                                         WrongType{"TimeForNumber", "timeout = 10:00:00", noNumber},
                                         WrongType{"ListForNumber", "timeout = [\n10,\n20]", noNumber},
                                         WrongType{"JustTooLarge", "timeout = 2147483648", noNumber},
                                         WrongType{"JustTooSmall", "timeout = -2147483649", noNumber},
                                         WrongType{"WrapsToTen", "timeout = 4294967306", noNumber},
                                         WrongType{"NumberForFlag", "enabled = 1", noFlag},
                                         WrongType{"TextForFlag", "enabled = 'true'", noFlag},
                                         WrongType{"DateTimeForFlag", "enabled = 2024-01-31T10:00:00Z",
                                                   noFlag}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(ConfigComplaint, OfSeveralProblemsHasALineForEachInTheOrderOfTheFile)
{
    EXPECT_EQ(
        complaint("[Service]\r\ntimeout = 'soon'\r\npassword = 'fine'\r\nenabled = 1\r\n\r\n[Another]\r\n"
                  "\r\nfirst = 1\r\n"),
        std::string("FILE:2: Service:") + noNumber + "\nFILE:4: Service:" + noFlag +
            "\nFILE:8: Another:first: unknown key; expected one of " + knownKeys);
}

TEST_F(ConfigComplaint, OfOneLineGoesFromLeftToRight)
{
    EXPECT_EQ(complaint("Service = { timeout = '1', enabled = 0 }\n"),
              std::string("FILE:1: Service:") + noNumber + "\nFILE:1: Service:" + noFlag);
}

TEST_F(ConfigComplaint, LeavesAllOldValuesInForce)
{
    load("[Service]\npassword = 'old'\ntimeout = 25\n");
    EXPECT_NE(complaint("[Service]\npassword = 'new'\ntimeout = 'soon'\n"), "");
    EXPECT_EQ(password(), u"old"_s);
    EXPECT_NE(complaint("[Service]\npassword = 'new'\nunknown = 1\n"), "");
    EXPECT_EQ(password(), u"old"_s);
    EXPECT_NE(complaint("[Service\n"), "");
    EXPECT_EQ(password(), u"old"_s);
    EXPECT_EQ(timeout(), 25);
    EXPECT_THROW(m_config.load(m_dir.filePath(u"none.toml"_s)), ConfigError);
    EXPECT_EQ(timeout(), 25);
}

TEST_F(ConfigComplaint, OfWhatIsNotTomlNamesFileAndLine)
{
    EXPECT_THAT(complaint("[Service]\n\ntimeout 25\n"), StartsWith("FILE:3: is not TOML: "));
    EXPECT_THAT(complaint("[Service]\npassword = \"open\n"), StartsWith("FILE:2: is not TOML: "));
    EXPECT_THAT(complaint("\xEF\xBB\xBF[Service]\r\ntimeout = \r\n"), StartsWith("FILE:2: is not TOML: "));
    EXPECT_THAT(complaint("[Service]\npassword = '\xCF\xE0\xF0'\n"), StartsWith("FILE:2: is not TOML: "));
}

TEST_F(ConfigComplaint, OfADuplicateKeyNamesTheSecondLine)
{
    EXPECT_EQ(complaint("[Service]\ntimeout = 25\nenabled = true\ntimeout = 30\n"),
              "FILE:4: is not TOML: Error while parsing key-value pair: cannot redefine existing integer");
}

TEST_F(ConfigComplaint, NeverNamesAValue)
{
    for (const char* value :
         {"7356291", "73562911111111111111111", "0x735629", "735629x", "-735629.5", "735629 735629",
          "hunter735629", "'735629' 735629", "\"735629\\q\"", "true735629", "2024-13-31", "['735629']",
          "'735629", "{ a735629 = '735629' b }", "\"\"\"735629\n735629"}) {
        const std::string message = complaint(QByteArray("[Service]\npassword = ") + value + "\n");
        EXPECT_THAT(message, StartsWith("FILE:")) << value;
        EXPECT_THAT(message, Not(HasSubstr("735629"))) << value;
        EXPECT_THAT(message, Not(HasSubstr("2024"))) << value;
        EXPECT_THAT(message, Not(HasSubstr("hunter"))) << value;
    }
}

TEST_F(ConfigComplaint, OfAMissingFileNamesIt)
{
    try {
        m_config.load(m_fileName);
        FAIL() << "nothing was thrown";
    } catch (const ConfigError& error) {
        EXPECT_THAT(error.what(), StartsWith((m_fileName + u": cannot be read: "_s).toStdString()));
    }
}

TEST_F(ConfigComplaint, OfADirectoryInPlaceOfTheFileNamesIt)
{
    EXPECT_THROW(m_config.load(m_dir.path()), ConfigError);
}

TEST_F(ConfigComplaint, OfSetNamesTheKeyAndWhatWasExpected)
{
    EXPECT_EQ(complaintOfSet(u"Service:timeout"_s, u"10"_s), std::string("Service:") + noNumber);
    EXPECT_EQ(complaintOfSet(u"Service:timeout"_s, 10LL), std::string("Service:") + noNumber);
    EXPECT_EQ(complaintOfSet(u"Service:timeout"_s, {}), std::string("Service:") + noNumber);
    EXPECT_EQ(complaintOfSet(u"Service:password"_s, 735629), std::string("Service:") + noText);
    EXPECT_EQ(complaintOfSet(u"Service:enabled"_s, 1), std::string("Service:") + noFlag);
    EXPECT_EQ(complaintOfSet(u"service:enabled"_s, true),
              "service:enabled: unknown key; did you mean Service:enabled? (case counts)");
    EXPECT_EQ(complaintOfSet(u"Till:number"_s, 1),
              std::string("Till:number: unknown key; expected one of ") + knownKeys);
    EXPECT_EQ(complaintOfSet(u"Service:timeout"_s, 10), "");
}

TEST_F(ConfigComplaint, OfSetLeavesTheOldValueInForce)
{
    m_config.set(u"Service:timeout"_s, 10);
    EXPECT_NE(complaintOfSet(u"Service:timeout"_s, u"11"_s), "");
    EXPECT_EQ(timeout(), 10);
}

} // namespace
