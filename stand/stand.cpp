#include "stand/stand.h"

#include "stand/answers.h"
#include "stand/inspection.h"
#include "stand/seed.h"

#include <QTextStream>
#include <QUrlQuery>

#include <array>
#include <functional>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

bool isAuthorized(const Request& request, const QByteArray& expected)
{
    static const auto scheme = "basic "_ba;
    const auto header = request.headers.value("authorization");
    if (header.first(qMin(header.size(), scheme.size())).toLower() != scheme)
        return false;
    const auto given = QByteArray::fromBase64Encoding(header.mid(scheme.size()).trimmed(),
                                                      QByteArray::AbortOnBase64DecodingErrors);
    return given && *given == expected;
}

Answer unauthorized()
{
    auto answer = failure(401, u"Требуется авторизация"_s);
    answer.headers.append({"WWW-Authenticate"_ba, R"(Basic realm="stand")"_ba});
    return answer;
}

} // namespace

Stand::Stand(const QString& dataFile, const Credentials& credentials, const Terms& terms)
    : m_database(dataFile)
    , m_service(m_database, terms.tariff, terms.codes)
    , m_expected((credentials.user + u':' + credentials.password).toUtf8())
{}

Answer Stand::answer(const Request& request)
{
    try {
        return request.path.startsWith("/v2/") ? serviceAnswer(request) : ownPage(request);
    } catch (const DatabaseError& error) {
        QTextStream(stderr) << "stand: " << error.what() << Qt::endl;
        return failure(500, u"Внутренняя ошибка сервиса"_s);
    }
}

Answer Stand::serviceAnswer(const Request& request)
{
    const auto time = QDateTime::currentDateTimeUtc();
    const bool authorized = isAuthorized(request, m_expected);
    // Whatever happens to the process: what was done, its answer and its trace are there together or not at
    // all.
    Transaction transaction(m_database);
    auto answer = authorized ? m_service.answer(request) : unauthorized();
    m_exchanges.add(time, request, authorized, answer);
    transaction.commit();
    return answer;
}

Answer Stand::ownPage(const Request& request)
{
    using Page = std::pair<QByteArray, std::function<Answer()>>;
    const std::array pages = {
        Page{"/stand/cards", [] { return page(demonstrationCards()); }},
        Page{"/stand/paths", [this] { return page(m_service.paths()); }},
        Page{"/stand/exchanges", [&] { return exchangesPage(request); }},
        Page{"/stand/codes", [this] { return page(m_service.codes()); }},
        Page{"/stand/ledger", [this] { return page(ledgerPage(m_database, m_service.anonymousReceipts())); }},
        Page{"/stand/invariants", [this] { return page(invariantsPage(m_database)); }},
    };
    for (const auto& [path, answer] : pages) {
        if (path == request.path)
            return request.method == "GET" ? answer() : wrongMethod(request.method, "GET");
    }
    return failure(404, u"Адрес не найден"_s);
}

Answer Stand::exchangesPage(const Request& request) const
{
    const QUrlQuery query(QString::fromUtf8(request.query));
    qint64 number = 0;
    if (const auto after = u"after"_s; query.hasQueryItem(after)) {
        bool isNumber = false;
        number = query.queryItemValue(after).toLongLong(&isNumber);
        if (!isNumber)
            return failure(422, u"\"after\" must be the number of an exchange"_s);
    }
    return page(QJsonObject{{u"exchanges"_s, m_exchanges.after(number)}});
}

} // namespace stand
