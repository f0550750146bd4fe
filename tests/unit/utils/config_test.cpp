#include "tests/unit/utils/configfile.h"

using namespace Qt::StringLiterals;

namespace {

class ConfigValues : public ConfigFile
{};

TEST_F(ConfigValues, AreTheDefaultsInAFreshObject)
{
    EXPECT_EQ(m_config.getString(u"Service:password"_s, u"none"_s), u"none"_s);
    EXPECT_EQ(m_config.getInt(u"Service:timeout"_s, 17), 17);
    EXPECT_TRUE(m_config.getBool(u"Service:enabled"_s, true));
    EXPECT_FALSE(m_config.getBool(u"Service:enabled"_s, false));
}

TEST_F(ConfigValues, OfEachTypeComeFromTheFile)
{
    load("[Service]\npassword = \"secret\"\ntimeout = 25\nenabled = true\n");
    EXPECT_EQ(password(), u"secret"_s);
    EXPECT_EQ(timeout(), 25);
    EXPECT_TRUE(m_config.getBool(u"Service:enabled"_s, false));
}

TEST_F(ConfigValues, AreTheDefaultsForKeysThatTheFileLacks)
{
    load("[Service]\ntimeout = 25\n");
    EXPECT_EQ(m_config.getString(u"Service:password"_s, u"none"_s), u"none"_s);
}

TEST_F(ConfigValues, OfAnEmptyTextAZeroAndAFalseAreNotTheDefaults)
{
    load("[Service]\npassword = ''\ntimeout = 0\nenabled = false\n");
    EXPECT_EQ(m_config.getString(u"Service:password"_s, u"none"_s), QString());
    EXPECT_EQ(m_config.getInt(u"Service:timeout"_s, 17), 0);
    EXPECT_FALSE(m_config.getBool(u"Service:enabled"_s, true));
}

TEST_F(ConfigValues, OfNestedTablesHaveTheirPathAsKey)
{
    for (const QByteArray content :
         {"[Service.proxy]\nhost = 'gate'\n", "[Service]\nproxy.host = 'gate'\n",
          "Service.proxy.host = 'gate'\n", "[Service]\nproxy = { host = 'gate' }\n"}) {
        load(content);
        EXPECT_EQ(m_config.getString(u"Service:proxy:host"_s, {}), u"gate"_s) << content.toStdString();
        load({});
    }
}

TEST_F(ConfigValues, ReachTheLimitsOfAnInteger)
{
    load("[Service]\ntimeout = 2147483647\n");
    EXPECT_EQ(timeout(), std::numeric_limits<int>::max());
    load("[Service]\ntimeout = -2147483648\n");
    EXPECT_EQ(timeout(), std::numeric_limits<int>::min());
}

TEST_F(ConfigValues, KeepEverySignOfAPassword)
{
    load(R"([Service]
password = "a;b,c#d=e'f\"g\\h Пароль")");
    EXPECT_EQ(password(), u"a;b,c#d=e'f\"g\\h Пароль"_s);
    load(R"([Service]
password = 'a;b,c#d=e"f\h %1 Пароль' # not part of it)");
    EXPECT_EQ(password(), u"a;b,c#d=e\"f\\h %1 Пароль"_s);
}

TEST_F(ConfigValues, AreReadBehindAByteOrderMark)
{
    load("\xEF\xBB\xBF[Service]\ntimeout = 25\n");
    EXPECT_EQ(timeout(), 25);
}

TEST_F(ConfigValues, AreReadFromLinesThatEndAsOnWindows)
{
    load("[Service]\r\npassword = 'secret'\r\ntimeout = 25\r\n");
    EXPECT_EQ(password(), u"secret"_s);
    EXPECT_EQ(timeout(), 25);
}

TEST_F(ConfigValues, AreReplacedAsAWholeByTheNextFile)
{
    load("[Service]\npassword = 'secret'\ntimeout = 25\n");
    load("[Service]\ntimeout = 30\n");
    EXPECT_EQ(timeout(), 30);
    EXPECT_EQ(password(), QString());
}

TEST_F(ConfigValues, AreGoneAfterAnEmptyFile)
{
    load("[Service]\ntimeout = 25\n");
    load({});
    EXPECT_EQ(timeout(), -7);
}

TEST_F(ConfigValues, OfATableWithoutKeysAreTheDefaults)
{
    load("[Service]\n# timeout = 25\n");
    EXPECT_EQ(timeout(), -7);
}

TEST_F(ConfigValues, AreOverriddenBySet)
{
    load("[Service]\npassword = 'secret'\ntimeout = 25\n");
    m_config.set(u"Service:timeout"_s, 5);
    EXPECT_EQ(timeout(), 5);
    EXPECT_EQ(password(), u"secret"_s);
}

TEST_F(ConfigValues, CanBeOfKeysDeclaredLater)
{
    m_config.declare({{u"Till:number"_s, ConfigKey::Type::Integer, u"the till's number"_s}});
    load("[Till]\nnumber = 3\n[Service]\ntimeout = 25\n");
    EXPECT_EQ(m_config.getInt(u"Till:number"_s, 0), 3);
    EXPECT_EQ(timeout(), 25);
}

TEST_F(ConfigValues, OfAnotherTypeThrowInsteadOfGivingTheDefault)
{
    load("[Service]\npassword = '12'\ntimeout = 1\nenabled = true\n");
    EXPECT_THROW((void)m_config.getInt(u"Service:password"_s, 0), ConfigError);
    EXPECT_THROW((void)m_config.getBool(u"Service:password"_s, false), ConfigError);
    EXPECT_THROW((void)m_config.getString(u"Service:timeout"_s, {}), ConfigError);
    EXPECT_THROW((void)m_config.getBool(u"Service:timeout"_s, false), ConfigError);
    EXPECT_THROW((void)m_config.getString(u"Service:enabled"_s, {}), ConfigError);
    EXPECT_THROW((void)m_config.getInt(u"Service:enabled"_s, 0), ConfigError);
}

TEST_F(ConfigValues, OfAnotherTypeAreNotNamedInTheException)
{
    load("[Service]\npassword = 'hunter2'\n");
    try {
        (void)m_config.getInt(u"Service:password"_s, 0);
        FAIL() << "nothing was thrown";
    } catch (const ConfigError& error) {
        EXPECT_STREQ(error.what(), "Service:password: expected a whole number");
    }
}

class ConfigDouble : public Config
{
public:
    [[nodiscard]] int getInt(const QString& /*key*/, int /*defaultValue*/) const override { return 99; }
};

TEST(Config, CanBeReplacedByADouble)
{
    ConfigDouble values;
    const Config& config = values;
    EXPECT_EQ(config.getInt(u"Service:timeout"_s, 1), 99);
}

} // namespace
