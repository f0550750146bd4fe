#include "tests/stand/standfixture.h"

#include <QJsonDocument>

#include <csignal>
#include <ostream>

using namespace Qt::StringLiterals;

namespace standtest {

void StandTest::SetUp()
{
    m_root = m_stand.url();
    ASSERT_FALSE(m_root.isEmpty()) << "the stand did not start: " << m_stand.errors().constData();
}

Reply StandTest::get(const QByteArray& path)
{
    return call("/v2/partner/" + path, {.url = {}, .login = Login()});
}

Reply StandTest::call(const QByteArray& path, Call how)
{
    how.url = m_root + path;
    return send(how);
}

QJsonArray StandTest::exchanges(const QByteArray& query) const { return exchangesOf(m_root, query); }

std::optional<int> StandTest::endStatus()
{
    m_stand.signal(SIGTERM);
    return m_stand.exitStatus();
}

QJsonArray exchangesOf(const QByteArray& root, const QByteArray& query)
{
    return send({.url = root + "/stand/exchanges" + query}).json()[u"exchanges"].toArray();
}

QJsonValue json(QString text)
{
    // In an array, so that a lone text or number is read too.
    const auto document = QJsonDocument::fromJson((u'[' + text.replace(u'\'', u'"') + u']').toUtf8());
    return document.array().at(0);
}

} // namespace standtest

QT_BEGIN_NAMESPACE

void PrintTo(const QJsonValue& value, std::ostream* out)
{
    *out << QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).constData();
}

void PrintTo(const QJsonObject& value, std::ostream* out) { PrintTo(QJsonValue(value), out); }

void PrintTo(const QJsonArray& value, std::ostream* out) { PrintTo(QJsonValue(value), out); }

void PrintTo(const QByteArray& value, std::ostream* out) { *out << value.constData(); }

QT_END_NAMESPACE
