#include "tests/journey/till/conformance.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

using namespace Qt::StringLiterals;
using ::testing::IsEmpty;

namespace tilltest {

QString Said::verdict(const QString& id) const { return rows.value(id)[u"verdict"_s].toString(); }

std::string Said::finding(const QString& id) const
{
    return rows.value(id)[u"finding"_s].toString().toStdString();
}

std::vector<std::string> Said::of(const QString& verdict) const
{
    std::vector<std::string> ids;
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        if (row.value()[u"verdict"_s] == verdict)
            ids.push_back(row.key().toStdString());
    }
    return ids;
}

Said read(const Ran& ran)
{
    Said said{ran, QJsonDocument::fromJson(ran.out).object()};
    const QJsonArray promises = said.report[u"promises"_s].toArray();
    for (const auto& row : promises)
        said.rows.insert(row[u"id"_s].toString(), row.toObject());
    return said;
}

Service::Service()
    : m_stand({u"--sms-code"_s, code})
    , m_url(m_stand.url())
{}

QJsonValue Service::page(const QByteArray& path) const
{
    return standtest::send({.url = m_url + "/stand/" + path}).json();
}

void Service::arm(const QJsonObject& fault) const
{
    const auto reply = standtest::send({.url = m_url + "/stand/faults",
                                        .method = "POST",
                                        .body = QJsonDocument(QJsonArray{fault}).toJson()});
    ASSERT_EQ(reply.status, 201) << reply.body.constData();
}

int Service::fired() const { return page("faults")[u"faults"_s][0][u"fired"_s].toInt(); }

void Service::disarm() const { standtest::send({.url = m_url + "/stand/faults", .method = "DELETE"}); }

void Service::waitUntilOpen() const
{
    QElapsedTimer time;
    time.start();
    while (page("invariants").isUndefined() && time.elapsed() < patienceMs)
        QThread::msleep(20);
}

std::string Service::balance() const
{
    const auto reply =
        standtest::send({.url = m_url + "/v2/partner/operation/user/card/" + number.toLatin1() + "/user-info",
                         .login = standtest::Login()});
    return reply.data()[u"accounts_data"_s][0][u"avialable"_s].toString().toStdString();
}

void Service::expectUntouched() const
{
    EXPECT_EQ(balance(), "300.00");
    EXPECT_TRUE(page("invariants")[u"ok"_s].toBool());
    EXPECT_THAT(page("invariants")[u"left_by_thresholds"_s].toArray(), IsEmpty());
}

QStringList TillConformance::arguments(const QString& url, const QByteArray& settings) const
{
    const QString config = files.write(
        u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\n" + settings);
    QFile::setPermissions(config, QFile::ReadOwner | QFile::WriteOwner);
    return {u"conformance"_s, u"--config"_s, config, u"--server-url"_s, url, u"--card"_s, number};
}

Said TillConformance::conformAt(const QStringList& arguments, const QStringList& more)
{
    return read(run(arguments + QStringList{u"--phone"_s, phone, u"--code"_s, code, u"--json"_s} + more));
}

} // namespace tilltest
