#include "tests/journey/till/tillprocess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const Steps everyKind = sale + card + spend + spend.mayFail() + restart() + pay() + rollback().mayFail() +
                        openReturn("R-2", "R-1", {position(1)}) + pay() + deliver();

/// What the screen shows, without the log lines between: those stay Russian.
QString screenOf(const Ran& ran)
{
    static const QRegularExpression logged(u"^ +(debug|info|warning|error) .*\n"_s,
                                           QRegularExpression::MultilineOption);
    return QString::fromUtf8(ran.out).remove(logged);
}

bool isRussian(const QString& text)
{
    static const QRegularExpression letter(u"[А-Яа-яЁё]"_s);
    return text.contains(letter);
}

} // namespace

TEST(TillLanguage, OfTheScreenIsTheOneThatIsAskedFor)
{
    const Ran ran = runSteps(everyKind, {u"--language"_s, u"en"_s});
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    const QString data =
        u"Орлова Анна Сергеевна"_s; // what customer and goods are called is nobody's to translate
    const QString screen = screenOf(ran).remove(data).remove(u"Чай"_s);
    EXPECT_FALSE(isRussian(screen)) << screen.toStdString();
    for (const char* text :
         {"Customer: ", "Points earned: ", "To pay", "Possible steps: ", "Found the open receipt R-1"})
        EXPECT_THAT(screen.toStdString(), HasSubstr(text));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Создание оплаты бонусами")) << "log lines stay as they are";
}

TEST(TillLanguage, ChangesNothingOfWhatTheServiceIsSent)
{
    const auto bodies = [](const QString& language) {
        const Ran ran = runJson(everyKind, {u"--verbose"_s, u"--language"_s, language});
        QStringList sent = QString::fromUtf8(ran.err).split(u'\n');
        sent.removeIf([](const QString& line) { return !line.startsWith(u"         >"_s); });
        // Numbers are counted from the clock, so no two runs share them, whole or masked; the card they do
        // share.
        static const QRegularExpression number(u"\\b\\d{10}|…(?!0055)\\d{4}"_s);
        return sent.join(u'\n').replace(number, u"…"_s).toStdString();
    };
    const std::string russian = bodies(u"ru"_s);
    EXPECT_THAT(russian, HasSubstr("Списание бонусов"));
    EXPECT_EQ(bodies(u"en"_s), russian);
}

TEST(TillLanguage, IsToldByTheEnvironmentOrTheConfigurationToo)
{
    const Files files;
    const QString steps = files.write(u"s.json"_s, scenario(sale + card));
    EXPECT_THAT(runWith({u"KYR_LANGUAGE=en"_s}, {u"run"_s, steps}).out.toStdString(),
                HasSubstr("Customer: "));
    const QString config = files.write(u"till.toml"_s, "[Till]\nlanguage = \"en\"\n");
    EXPECT_THAT(run({u"run"_s, steps, u"--config"_s, config}).out.toStdString(), HasSubstr("Customer: "));
    EXPECT_THAT(run({u"run"_s, steps, u"--config"_s, config, u"--language"_s, u"ru"_s}).out.toStdString(),
                HasSubstr("Покупатель: "));
}

TEST(TillLanguage, ThatThereIsNotIsRefusedWithThoseThatThereAre)
{
    for (const QString& language : {u"xx"_s, u"en_GB"_s, u"../en"_s}) {
        const Ran ran = runSteps(sale, {u"--language"_s, language});
        EXPECT_EQ(ran.status, 2);
        EXPECT_THAT(ran.err.toStdString(),
                    HasSubstr("there is no language \"" + language.toStdString() + "\"; there are: en, ru"));
    }
}

TEST(TillLanguage, OfTheUsersOwnIsFoundAmongTheirData)
{
    const Files files;
    const QString folder = files.path(u"data/kyr-loyalty/translations"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(QFile::copy(QCoreApplication::applicationDirPath() +
                                u"/../share/kyr-loyalty/translations/kyr_en.qm"_s,
                            folder + u"/kyr_xx.qm"_s));
    const QString steps = files.write(u"s.json"_s, scenario(sale + card));
    const Ran ran =
        runWith({u"XDG_DATA_HOME="_s + files.path(u"data"_s)}, {u"run"_s, steps, u"--language"_s, u"xx"_s});
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Customer: "));
}

TEST(TillLanguage, OfTheShellsQuestionsIsTheSame)
{
    const Ran ran = run({u"shell"_s, u"--language"_s, u"en"_s},
                        R"(openSale id=R-1 positions=[{"articul":"1","name":"Tea","price":300,"quantity":1}]
identifyByPhone phone=79001234567
1
pay
)");
    EXPECT_THAT(ran.out.toStdString() + ran.err.toStdString(), HasSubstr("Card numbers"));
    EXPECT_THAT(ran.out.toStdString() + ran.err.toStdString(), HasSubstr("Line number (empty to close): "));
    EXPECT_FALSE(isRussian(screenOf(ran).remove(QRegularExpression(u"Customer: .*"_s))))
        << ran.out.toStdString();
}

} // namespace tilltest
