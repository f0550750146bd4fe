#include "tests/simulation/service.h"

#include "stand/books/clock.h"
#include "stand/books/invariants.h"
#include "stand/http/answers.h"
#include "stand/pages/inspection.h"

#include <QJsonObject>
#include <QSqlRecord>

using namespace Qt::StringLiterals;

namespace simulation {

stand::Answer Service::answer(const stand::Request& request, const QDateTime& time)
{
    stand::setClock(time);
    if (request.headers.value("authorization") != authorization())
        return stand::failure(401, u"Требуется авторизация"_s);
    stand::Transaction transaction(m_database);
    stand::Answer answer = m_service.answer(request);
    if (!m_isForgetful || ++m_answers % 20 != 0)
        transaction.commit();
    return answer;
}

QByteArray Service::authorization() const
{
    return "Basic " + (m_credentials.user + u':' + m_credentials.password).toUtf8().toBase64();
}

QString Service::lastCode() const
{
    const QJsonArray codes = m_service.codes();
    return codes.isEmpty() ? QString() : codes.last().toObject().value(u"code"_s).toString();
}

QVariantMap Service::ledger()
{
    return stand::ledgerPage(m_database, m_service.anonymousReceipts()).toVariantMap();
}

QStringList Service::violations() { return stand::violations(m_database); }

QList<QVariantList> Service::rows(const QString& statement)
{
    stand::Rows found = m_database.run(statement);
    const int columns = found.record().count();
    QList<QVariantList> rows;
    while (found.next()) {
        QVariantList row;
        for (int i = 0; i < columns; ++i)
            row.append(found.value(i));
        rows.append(row);
    }
    return rows;
}

} // namespace simulation
