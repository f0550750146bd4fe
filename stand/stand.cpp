#include "stand/stand.h"

#include "stand/books/clock.h"
#include "stand/books/seed.h"
#include "stand/faults/mangling.h"
#include "stand/http/answers.h"
#include "stand/pages/clockpage.h"
#include "stand/pages/faultspage.h"
#include "stand/pages/inspection.h"
#include "stand/pages/overview.h"
#include "stand/pages/webpage.h"

#include <QLocale>
#include <QTextStream>
#include <QUrlQuery>

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

Answer broken(const DatabaseError& error)
{
    QTextStream(stderr) << "stand: " << error.what() << Qt::endl;
    return failure(500, u"Внутренняя ошибка сервиса"_s);
}

/// The time as HTTP writes it; callers judge their own clocks by it.
QByteArray httpDate(const QDateTime& time)
{
    return QLocale::c().toString(time, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'").toLatin1();
}

} // namespace

Stand::Stand(const QString& dataFile, const Credentials& credentials, const Terms& terms, Gate gate)
    : m_database(dataFile)
    , m_service(m_database, terms.tariff, terms.codes)
    , m_gate(std::move(gate))
    , m_expected((credentials.user + u':' + credentials.password).toUtf8())
{
    addPages();
}

Reaction Stand::react(const Request& request)
{
    try {
        auto reaction =
            request.path.startsWith("/v2/") ? serviceReaction(request) : Reaction{ownPage(request)};
        reaction.portClosedFor += m_faults.portClosedFor();
        if (auto* answer = std::get_if<Answer>(&reaction.what))
            answer->headers.append({"Date"_ba, httpDate(now())});
        return reaction;
    } catch (const DatabaseError& error) {
        return {broken(error)};
    }
}

Reaction Stand::serviceReaction(const Request& request)
{
    const auto due = m_faults.next(request);
    return due ? strike(*due, request) : Reaction{serviceAnswer(request)};
}

Reaction Stand::strike(const Strike& strike, const Request& request)
{
    const auto& fault = strike.fault;
    if (fault.kind == FaultKind::Late && fault.when == When::Before) {
        return {Postponed{std::chrono::milliseconds(fault.number("ms")),
                          [this, request, name = fault.name()] { return serviceAnswer(request, name); }}};
    }
    auto answer = ownAnswer(fault, request);
    if (fault.when == When::Before)
        remember(request, answer, fault.name());
    else if (auto service = serviceAnswer(request, fault.name()); !answer)
        answer = std::move(service);
    auto delivery = mangled(strike, answer);
    if (fault.kind == FaultKind::Type && delivery.begin.endsWith(answer->body)) {
        QTextStream(stderr) << "stand: fault " << strike.id << " changed nothing: the answer has no field "
                            << fault.text("field") << Qt::endl;
    }
    Reaction reaction{std::move(delivery)};
    if (fault.kind == FaultKind::Refuse)
        reaction.portClosedFor = std::chrono::milliseconds(fault.number("ms"));
    return reaction;
}

Answer Stand::serviceAnswer(const Request& request, const QString& fault)
{
    try {
        return performed(request, fault);
    } catch (const DatabaseError& error) {
        return broken(error);
    }
}

Answer Stand::performed(const Request& request, const QString& fault)
{
    const auto time = now();
    const bool authorized = isAuthorized(request, m_expected);
    // Whatever happens to the process: what was done, its answer and its trace are there together or not at
    // all.
    Transaction transaction(m_database);
    auto answer = authorized ? m_service.answer(request) : unauthorized();
    m_exchanges.add(time, request, authorized, answer, fault);
    transaction.commit();
    return answer;
}

void Stand::remember(const Request& request, const std::optional<Answer>& answer, const QString& fault)
{
    Answer none;
    none.status = 0;
    m_exchanges.add(now(), request, isAuthorized(request, m_expected), answer.value_or(none), fault);
}

Answer Stand::ownPage(const Request& request)
{
    if (auto refused = m_gate.refusal(request))
        return *refused;
    return m_pages.answer(request);
}

void Stand::addPages()
{
    addWebPages(m_pages);
    addFaultsPage(m_pages, m_faults);
    addClockPage(m_pages);
    const auto add = [this](const QByteArray& path, auto content) {
        m_pages.add("GET", path, [content](const QByteArray&, const Request&) { return page(content()); });
    };
    add("/stand/cards", [] { return demonstrationCards(); });
    add("/stand/paths", [this] { return paths(); });
    add("/stand/codes", [this] { return m_service.codes(); });
    add("/stand/ledger", [this] { return ledgerPage(m_database, m_service.anonymousReceipts()); });
    add("/stand/overview", [this] { return overview(); });
    add("/stand/invariants", [this] { return invariantsPage(m_database, m_service.tariff()); });
    m_pages.add("GET", "/stand/exchanges",
                [this](const QByteArray&, const Request& request) { return exchangesPage(request); });
}

QJsonArray Stand::paths() const
{
    auto paths = m_service.paths();
    for (const auto& own : m_pages.list())
        paths.append(own);
    return paths;
}

QJsonObject Stand::overview()
{
    constexpr qsizetype most = 12;
    QJsonArray codes;
    const auto sent = m_service.codes();
    for (auto i = sent.size() - 1; i >= 0 && codes.size() < most; --i)
        codes.append(sent.at(i));
    auto overview = booksOverview(m_database);
    overview.insert(u"codes"_s, codes);
    overview.insert(u"faults"_s, m_faults.list());
    overview.insert(u"kinds"_s, faultKindList());
    overview.insert(u"fault_operations"_s,
                    QJsonArray::fromStringList(QStringList{u"any"_s} + CallPattern::operations()));
    return overview;
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
