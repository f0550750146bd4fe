#include "tests/soak/tills.h"

#include "tests/soak/receipts.h"

#include <QFile>
#include <QProcess>

#include <iostream>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace soaktest {

namespace {

constexpr int patienceMs = 600'000;

} // namespace

TillThere::TillThere(const Service& service)
    : m_directory(folderTemplate())
{
    static_cast<void>(
        write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\n"
                              "timeout = 1\nserverUrl = \"" +
                                  service.url() + "/\"\n"));
}

bool TillThere::play(int receipts) const
{
    return run({u"run"_s, write(u"day.json"_s, scenarioWith(receipts)), u"--json"_s});
}

bool TillThere::deliver() const { return run({u"queue"_s, u"deliver"_s}); }

void TillThere::killADelivery(const Service& service, const std::function<void()>& meanwhile) const
{
    const QJsonArray before = service.exchanges();
    const qint64 last = before.isEmpty() ? 0 : before.last().toObject().value(u"n"_s).toInteger();
    QProcess delivery;
    delivery.start(QStringLiteral(TILL_PROGRAM), with({u"deliver"_s}));
    const bool came = service.waitForExchange(last);
    if (meanwhile)
        meanwhile();
    delivery.kill();
    if (!came || !delivery.waitForFinished(patienceMs))
        throw std::runtime_error("no delivery came to be killed: " +
                                 delivery.readAllStandardError().toStdString());
}

QStringList TillThere::with(const QStringList& arguments) const
{
    return arguments +
           QStringList{u"--config"_s, m_directory.filePath(u"till.toml"_s), u"--data-dir"_s, dataDirectory()};
}

bool TillThere::run(const QStringList& arguments) const
{
    QProcess till;
    till.start(QStringLiteral(TILL_PROGRAM), with(arguments));
    const bool ended = till.waitForFinished(patienceMs);
    if (ended && till.exitStatus() == QProcess::NormalExit && till.exitCode() == 0)
        return true;
    for (const QByteArray& line : till.readAllStandardOutput().split('\n')) {
        if (line.contains("\"ok\":false"))
            std::cerr << line.toStdString() << '\n';
    }
    std::cerr << till.readAllStandardError().toStdString() << std::endl;
    return false;
}

QString TillThere::write(const QString& name, const QByteArray& content) const
{
    QString path = m_directory.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("a file of the test cannot be written");
    return path;
}

} // namespace soaktest
