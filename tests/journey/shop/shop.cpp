#include "tests/journey/shop/shop.h"

#include "tests/stand/http.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QThread>

using namespace Qt::StringLiterals;

namespace tilltest {

ShopWorld::ShopWorld()
{
    const Ran prepared = run({u"shop"_s, u"prepare"_s, database.address()});
    EXPECT_EQ(prepared.status, 0) << prepared.err.toStdString();
}

ShopWorld::~ShopWorld()
{
    for (const auto& delivery : m_deliveries) {
        delivery->kill();
        delivery->waitForFinished(patienceMs);
    }
}

// Somebody who was just started may be reading it.
QString ShopWorld::settled(const QString& name, const QByteArray& settings) const
{
    const QString path = files.path(name);
    return contentOf(path) == settings ? path : files.write(name, settings);
}

QStringList ShopWorld::ofShop() const
{
    return {u"--config"_s,
            settled(u"shop.toml"_s, "[KYRLoyalty]\nserverUrl = \"" + m_url +
                                        "/\"\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\n"
                                        "[Shop]\ndatabase = \"" +
                                        m_address.toUtf8() + "\"\n")};
}

QStringList ShopWorld::of(const QString& till) const
{
    const QString file =
        settled(till + u".toml"_s, contentOf(ofShop().last()) + "till = \"" + till.toUtf8() + "\"\n");
    return {u"--config"_s, file, u"--data-dir"_s, files.path(till)};
}

// In a run receipts are ten minutes apart, though none of them passes: the next run begins well after.
void ShopWorld::moveClockOn(const QString& till)
{
    const QDir folder(files.path(till));
    if (!folder.exists()) {
        QDir().mkpath(folder.path());
        QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    static_cast<void>(files.write(till + u"/scenario-clock"_s,
                                  QDateTime::currentDateTimeUtc()
                                          .addSecs(std::chrono::seconds(++m_runs * m_apart).count())
                                          .toString(Qt::ISODate)
                                          .toLatin1() +
                                      '\n'));
}

Ran ShopWorld::play(const QString& till, const story::Steps& steps)
{
    moveClockOn(till);
    return runJson(steps, of(till));
}

void ShopWorld::beginRun(QProcess& run, const QString& till, const QString& file)
{
    moveClockOn(till);
    start(run, QStringList{u"run"_s, file, u"--json"_s} + of(till));
}

QProcess& ShopWorld::startDelivery()
{
    m_deliveries.push_back(std::make_unique<QProcess>());
    QProcess& delivery = *m_deliveries.back();
    start(delivery, QStringList{u"deliver"_s, u"--shop"_s} + ofShop());
    EXPECT_TRUE(delivery.waitForStarted(patienceMs));
    return delivery;
}

void ShopWorld::waitUntilDelivered()
{
    QElapsedTimer waited;
    waited.start();
    while (database.sql(u"SELECT count(*) FROM kyr.queued"_s) != u"0" && waited.elapsed() < patienceMs)
        QThread::msleep(20);
    EXPECT_EQ(database.sql(u"SELECT receipt, text, error FROM kyr.queued"_s), QString());
}

QJsonObject ShopWorld::page(const QByteArray& name) const
{
    return standtest::send({.url = m_url + "/stand/" + name}).json().toObject();
}

QStringList ShopWorld::ledger()
{
    QStringList lines;
    const QJsonObject books = page("ledger");
    for (const auto& operation : books[u"operations"].toArray()) {
        if (operation[u"operation"] != u"opening"_s)
            lines.append(operation[u"check_identifier"].toString() + u' ' +
                         operation[u"operation"].toString() + u' ' +
                         QString::number(operation[u"points"].toDouble(), 'f', 2));
    }
    for (const auto& receipt : books[u"anonymous"].toArray())
        lines.append(receipt[u"receipt_number"].toString() + u" anonymous"_s);
    return lines;
}

} // namespace tilltest
