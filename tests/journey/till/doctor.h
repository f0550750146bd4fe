#pragma once

#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

#include <gmock/gmock.h>

namespace tilltest {

inline QByteArray dateHeader(int secondsAhead)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(secondsAhead);
    return "Date: " + QLocale::c().toString(time, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss")).toUtf8() +
           " GMT";
}

inline const QByteArray noCards = R"({"data":{"cards_data":[]}})";
inline const QByteArray refusal = R"({"data":[{"message":"Требуется авторизация"}]})";

/// A till with everything in order, of which each test breaks one thing.
class TillDoctor : public testing::Test
{
protected:
    TillDoctor()
    {
        QDir().mkpath(directory);
        QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        configure({});
    }

    void configure(const QByteArray& more) { configure(more, QFile::ReadOwner | QFile::WriteOwner); }
    void configure(const QByteArray& more, QFile::Permissions mode)
    {
        QFile::setPermissions(files.write(QStringLiteral("till.toml"),
                                          "[KYRLoyalty]\nuser = \"shop\"\npassword = \"hush\"\n" + more),
                              mode);
    }

    /// The next answer.
    void answer(int status, const QByteArray& body = refusal)
    {
        server.enqueue(test_support::HttpAnswer::status(status, body, {dateHeader(0)}));
    }

    /// What the service says to the doctor when all is well: with credentials, and without.
    void answerWell(int secondsAhead = 0) { answerWell(server, {dateHeader(secondsAhead)}); }
    static void answerWell(test_support::HttpServer& service, const QList<QByteArray>& headers)
    {
        service.enqueue(test_support::HttpAnswer::status(200, noCards, headers));
        service.enqueue(test_support::HttpAnswer::status(401, refusal, headers));
    }

    /// Expects whoever answers not to be taken for the service.
    void expectStranger(const char* text, const char* remedy)
    {
        const auto found = findings();
        expect(found.value(QStringLiteral("service")), "problem", text);
        EXPECT_THAT(found.value(QStringLiteral("service"))[QStringLiteral("remedy")].toString().toStdString(),
                    testing::HasSubstr(remedy));
        expect(found.value(QStringLiteral("credentials")), "warning", "not judged");
        EXPECT_FALSE(found.contains(QStringLiteral("clock"))) << "it is not the service's";
    }

    /// What the doctor finds, by check; "status" is its exit status.
    [[nodiscard]] QHash<QString, QJsonObject> findings(const QStringList& variables = {},
                                                       const QString& url = {})
    {
        const Ran ran = runWith(
            variables, {QStringLiteral("doctor"), QStringLiteral("--json"), QStringLiteral("--config"),
                        files.path(QStringLiteral("till.toml")), QStringLiteral("--data-dir"), directory,
                        QStringLiteral("--server-url"), url.isEmpty() ? server.url().toString() : url});
        QHash<QString, QJsonObject> found;
        const QJsonObject report = QJsonDocument::fromJson(ran.out).object();
        const QJsonArray findings = report[QStringLiteral("findings")].toArray();
        for (const auto& finding : findings)
            found.insert(finding[QStringLiteral("check")].toString(), finding.toObject());
        EXPECT_EQ(ran.status, report[QStringLiteral("ok")].toBool() ? 0 : 1) << ran.err.toStdString();
        all = ran.out;
        return found;
    }

    /// Expects that state, and a remedy unless it is ok.
    static void expect(const QJsonObject& finding, const char* state, const char* text)
    {
        EXPECT_EQ(finding[QStringLiteral("state")].toString().toStdString(), state);
        EXPECT_THAT(finding[QStringLiteral("text")].toString().toStdString(), testing::HasSubstr(text));
        EXPECT_EQ(finding[QStringLiteral("remedy")].toString().isEmpty(),
                  finding[QStringLiteral("state")] == QStringLiteral("ok"));
    }

    /// Puts back the time at which everything in the queue was put in.
    void makeOlder(std::chrono::milliseconds age) const
    {
        const test_support::RawDatabase database(directory + QStringLiteral("/till.sqlite"));
        database.run(QStringLiteral("UPDATE queued SET enqueued = enqueued - ?"),
                     {static_cast<qint64>(age.count())});
    }

    const Files files;
    const QString directory = files.path(QStringLiteral("data"));
    test_support::HttpServer server;
    QByteArray all;
};

} // namespace tilltest
