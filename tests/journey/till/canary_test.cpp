// A password and codes that are found wherever they lie, however they are written there: nothing that the
// till says, writes, packs, keeps or starts may hold them.

#include "tests/journey/till/kepttill.h"
#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"
#include "tests/support/httpserver.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QStringConverter>

#include <gmock/gmock.h>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace tilltest {

namespace {

// Either half gives the password away, and what stands between them is written in another way wherever texts
// are.
const QByteArray firstHalf = "Kernbeisser";
const QByteArray secondHalf = "Gimpelzeisig";
const QByteArray password = firstHalf + R"("\ %&<)" + secondHalf;
const QByteArray user = "shop";
const QByteArray rightCode = "73190264";
const QByteArray wrongCode = "84019375";

/// As it stands, in other encodings, in hexadecimal digits and in Base64 wherever it begins.
QList<QByteArray> disguisesOf(const QByteArray& secret)
{
    QList<QByteArray> all{secret, secret.toLower(), secret.toUpper(), secret.toHex(),
                          secret.toHex().toUpper()};
    for (const auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE})
        all.append(QStringEncoder(encoding)(QString::fromUtf8(secret)));
    for (qsizetype before = 0; before < 3; ++before) {
        const QByteArray encoded =
            (QByteArray(before, 'x') + secret).toBase64(QByteArray::OmitTrailingEquals);
        all.append(encoded.mid(before == 0 ? 0 : before + 1).chopped(2)); // what neighbours have no part in
    }
    return all;
}

/// Which of the secrets are in the bytes.
std::vector<std::string> secretsIn(const QByteArray& bytes, const QList<QByteArray>& secrets)
{
    std::vector<std::string> found;
    for (const QByteArray& secret : secrets) {
        for (const QByteArray& disguise : disguisesOf(secret)) {
            if (bytes.contains(disguise))
                found.push_back((secret + " as " + disguise).toStdString());
        }
    }
    return found;
}

const QList<QByteArray> allSecrets{firstHalf, secondHalf, rightCode, wrongCode};

class Canary : public testing::Test
{
protected:
    Canary()
        : stand({u"--sms-code"_s, QString::fromLatin1(rightCode), u"--user"_s, QString::fromLatin1(user)},
                password)
        , service(QString::fromLatin1(stand.url()) + u'/')
    {
        write(service);
        QDir().mkpath(files.path(u"home"_s));
    }

    void write(const QString& url) const
    {
        const QString name = files.path(u"till.toml"_s);
        QFile::remove(name);
        static_cast<void>(files.write(
            u"till.toml"_s, "[KYRLoyalty]\nserverUrl = \"" + url.toUtf8() + "\"\nuser = \"" + user +
                                "\"\npassword = '" + password + "'\nsmsVerification = true\ntimeout = 1\n"));
        QFile::setPermissions(name, QFile::ReadOwner | QFile::WriteOwner);
    }

    void unpackBundle() const
    {
        const QString folder = files.path(u"unpacked"_s);
        QDir().mkpath(folder);
        EXPECT_EQ(QProcess::execute(u"tar"_s, {u"-xzf"_s, files.path(u"case.tar.gz"_s), u"-C"_s, folder}), 0);
    }

    /// Runs a till that says all it can; what it says is looked through.
    Ran till(const QStringList& arguments, const QByteArray& input = {}, const QStringList& options = {})
    {
        const QString home = files.path(u"home"_s);
        Ran ran = runWith({u"HOME="_s + home, u"TMPDIR="_s + home, u"XDG_CACHE_HOME="_s + home,
                           u"XDG_DATA_HOME="_s + home, u"XDG_RUNTIME_DIR="_s + home},
                          arguments +
                              QStringList{u"--config"_s, files.path(u"till.toml"_s), u"--data-dir"_s,
                                          files.path(u"data"_s), u"--log-file"_s, files.path(u"till.log"_s),
                                          u"--log-level"_s, u"debug"_s, u"--verbose"_s} +
                              options,
                          input);
        expectNone(ran.out + ran.err, arguments.join(u' '));
        return ran;
    }

    static void expectNone(const QByteArray& bytes, const QString& where,
                           const QList<QByteArray>& secrets = allSecrets)
    {
        EXPECT_THAT(secretsIn(bytes, secrets), IsEmpty()) << where.toStdString();
    }

    /// Every file that is there now, but the configuration, which is where the password comes from.
    void expectNoneInFiles(const QList<QByteArray>& secrets = allSecrets)
    {
        int looked = 0;
        QDirIterator all(files.path(u"."_s), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            const QString name = all.next();
            expectNone(name.toUtf8(), name);
            if (!name.endsWith(u"/till.toml"_s)) {
                expectNone(contentOf(name), name, secrets);
                ++looked;
            }
        }
        EXPECT_GT(looked, 2) << "at least store and log";
    }

    /// One sale: a wrong code, the right one, paid.
    [[nodiscard]] static QByteArray sellWithCodes(const QByteArray& receipt)
    {
        return "openSale id=" + receipt +
               R"( positions=[{"articul":"1","name":"Чай","price":300,"quantity":1}])" +
               "\nidentifyByCard card=2000000000055\nspendPoints points=50\n" + wrongCode +
               "\nspendPoints points=50\n" + rightCode + "\npay\n";
    }

    const Files files;
    standtest::StandProcess stand;
    const QString service;
};

/// How often the stand did what was asked there.
int done(const QString& service, const QString& path)
{
    const QJsonValue all = standtest::send({.url = service.toLatin1() + "stand/exchanges"}).json();
    int count = 0;
    for (const auto& exchange : all[u"exchanges"_s].toArray())
        count += exchange[u"path"_s].toString().endsWith(path) && exchange[u"status"_s] == 200 ? 1 : 0;
    return count;
}

} // namespace

TEST_F(Canary, IsFoundHoweverItIsWritten)
{
    const QByteArray secret = rightCode;
    for (const QByteArray& bytes :
         {"x" + secret + "x", secret.toHex(), secret.toBase64(), ("ab" + secret + "c").toBase64(),
          ("a" + secret).toBase64(),
          QByteArray(QStringEncoder(QStringEncoder::Utf16)(QString::fromLatin1(secret)))})
        EXPECT_THAT(secretsIn(bytes, allSecrets), Not(IsEmpty())) << bytes.toStdString();
    EXPECT_THAT(secretsIn((user + ':' + password).toBase64(), {firstHalf}), Not(IsEmpty()));
    EXPECT_THAT(secretsIn((user + ':' + password).toBase64(), {secondHalf}), Not(IsEmpty()));
    EXPECT_THAT(secretsIn("7319 0264", allSecrets), IsEmpty());
}

TEST_F(Canary, IsNowhereAfterADayOfSpendingWithCodes)
{
    till({u"shell"_s}, sellWithCodes("R-1"));
    EXPECT_EQ(done(service, u"/confirm-payment-c2b"_s), 1) << "else there was no password and no code";
    for (const QStringList& look :
         QList<QStringList>{{u"receipts"_s, u"list"_s},
                            {u"receipts"_s, u"show"_s, u"R-1"_s},
                            {u"receipts"_s, u"show"_s, u"R-1"_s, u"--json"_s},
                            {u"reconcile"_s},
                            {u"doctor"_s},
                            {u"doctor"_s, u"--json"_s},
                            {u"metrics"_s},
                            {u"backup"_s, files.path(u"backup.sqlite"_s)},
                            {u"support-bundle"_s, u"-o"_s, files.path(u"case.tar.gz"_s)}})
        till(look);
    EXPECT_EQ(run({u"config"_s, u"check"_s, files.path(u"till.toml"_s)}).status, 0);
    unpackBundle();
    expectNoneInFiles();
}

TEST_F(Canary, IsNowhereWhenTheConfirmationsOutcomeIsUnknown)
{
    EXPECT_EQ(standtest::send(
                  {.url = service.toLatin1() + "stand/faults",
                   .method = "POST",
                   .body = R"({"operation":"confirm-payment-c2b","fault":"hang","nth":2,"count":"all"})"})
                  .status,
              201);
    const Ran ran = till({u"shell"_s, u"--json"_s}, sellWithCodes("R-1"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("неизвестен"));
    expectNoneInFiles();
    till({u"receipts"_s, u"show"_s, u"R-1"_s});
    till({u"support-bundle"_s, u"-o"_s, files.path(u"case.tar.gz"_s)});
}

TEST_F(Canary, IsNowhereWhenTheServiceSaysItAgain)
{
    HttpServer server;
    const auto answer = [&server](const QByteArray& data) {
        server.enqueue(HttpAnswer::status(200, R"({"data":)" + data + '}'));
    };
    const auto echo = [&server](int status, const QByteArray& code = {}) {
        const QByteArray told = "Basic " + (user + ':' + password).toBase64() + " is " +
                                QByteArray(password).replace('\\', R"(\\)").replace('"', R"(\")") +
                                ", code " + code;
        server.enqueue(
            HttpAnswer::status(status, R"({"data":[{"message":")" + told + R"("}]})", {"X-Echo: " + told}));
    };
    answer(R"({"card_data":{"status":3}})");
    answer(
        R"({"user_data":{"mobile":"79001234567"},"accounts_data":[{"number":"2000000000055","avialable":"300"}]})");
    for (const QByteArray& code : {wrongCode, rightCode}) {
        answer("{}");
        answer(R"({"approve_id":1})");
        echo(422, code);
    }
    echo(503); // the earning, which waits then
    echo(422); // and is parked with the service's words
    echo(401);
    write(server.url().toString());
    const Ran ran = till({u"shell"_s}, sellWithCodes("R-1") + "deliver\n");
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Basic *** is ***, code ***"));
    EXPECT_EQ(server.requests().size(), 10);
    till({u"queue"_s, u"show"_s, u"1"_s});
    till({u"queue"_s, u"show"_s, u"1"_s, u"--json"_s});
    till({u"queue"_s, u"list"_s, u"--json"_s});
    till({u"doctor"_s});
    till({u"support-bundle"_s, u"-o"_s, files.path(u"case.tar.gz"_s)});
    unpackBundle();
    expectNoneInFiles();
}

TEST_F(Canary, IsInNoRecordingAndOnNoPageOfTheStand)
{
    const QString recording = files.path(u"exchanges.jsonl"_s);
    const Steps day = sale + card + spendPoints(50).withCode(wrongCode).mayFail() +
                      spendPoints(50).withCode(rightCode) + pay();
    const QString steps = files.write(u"s.json"_s, scenario(day));
    EXPECT_EQ(till({u"run"_s, steps}, {}, {u"--server-url"_s, service, u"--record"_s, recording}).status, 0);
    EXPECT_THAT(contentOf(recording).toStdString(), HasSubstr("confirm-payment-c2b"));
    QFile::remove(steps);
    expectNoneInFiles();
    for (const char* page :
         {"stand/", "stand/exchanges", "stand/ledger", "stand/invariants", "stand/faults", "docs"}) {
        const auto reply = standtest::send({.url = service.toLatin1() + page});
        EXPECT_EQ(reply.status, 200);
        expectNone(reply.body, QString::fromLatin1(page), {firstHalf, secondHalf});
    }
}

TEST_F(Canary, IsInNoArgumentsOfWhatRuns)
{
    QProcess shell;
    start(shell, {u"shell"_s, u"--json"_s, u"--config"_s, files.path(u"till.toml"_s)});
    EXPECT_TRUE(play(shell, sale).value(u"ok"_s).toBool());
    int tills = 0;
    for (const QString& process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        const QByteArray arguments = contentOf(u"/proc/"_s + process + u"/cmdline"_s);
        tills += arguments.contains("till.toml") ? 1 : 0;
        expectNone(arguments, process, {firstHalf, secondHalf}); // the codes are among the test's own stand's
    }
    EXPECT_GE(tills, 1);
    end(shell);
}

TEST_F(Canary, IsInNoCore)
{
    QProcess shell;
    shell.setChildProcessModifier([] {
        rlimit cores{};
        getrlimit(RLIMIT_CORE, &cores);
        cores.rlim_cur = cores.rlim_max;
        setrlimit(RLIMIT_CORE, &cores);
    });
    start(shell, {u"shell"_s, u"--json"_s, u"--config"_s, files.path(u"till.toml"_s)});
    EXPECT_TRUE(play(shell, sale).value(u"ok"_s).toBool());
    const QByteArray limits = contentOf(u"/proc/%1/limits"_s.arg(shell.processId()));
    // One byte is less than any core; or none, where the system allows nobody more.
    EXPECT_THAT(limits.toStdString(), ::testing::ContainsRegex("Max core file size +[01] +[01] "));
    end(shell);
}

} // namespace tilltest
