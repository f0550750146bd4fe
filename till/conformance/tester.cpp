#include "till/conformance/tester.h"

#include "host/utils/masking.h"
#include "till/audit/exchangetext.h"
#include "till/conformance/judging.h"
#include "till/setup/settings.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::conformance {

Tester::Tester(Terms terms, const StopSignals& signals)
    : m_terms(std::move(terms))
    , m_signals(signals)
    , m_cashier(m_terms.card)
    , m_observing(RestClient::observe([this](const RestExchange& exchange) { m_exchanges.append(exchange); }))
    , m_name(QUuid::createUuid().toString(QUuid::WithoutBraces).left(8))
{
    for (const Promise& promise : promises())
        m_rows.append({.promise = &promise, .finding = u"not reached"_s});
    m_terms.config.set(u"KYRLoyalty:smsVerification"_s, false);
    m_till = std::make_unique<Till>(m_terms.parts, m_terms.config, m_cashier);
}

Tester::~Tester() = default;

void Tester::useCodes()
{
    m_lost = m_leftovers;
    m_till.reset(); // the host has one at a time
    m_terms.config.set(u"KYRLoyalty:smsVerification"_s, true);
    m_till = std::make_unique<Till>(m_terms.parts, m_terms.config, m_cashier);
}

bool Tester::judge(const QString& id, const std::function<void()>& look)
{
    if (m_heedsSignals && m_signals.wait({}))
        throw Interrupted();
    const auto row = std::find_if(m_rows.begin(), m_rows.end(),
                                  [&id](const Row& candidate) { return candidate.promise->id == id; });
    if (row == m_rows.end())
        throw std::logic_error("no promise " + id.toStdString());
    m_from = m_exchanges.size();
    row->finding.clear();
    try {
        look();
        row->verdict = Verdict::Kept;
    } catch (const Difference& difference) {
        row->verdict = Verdict::Differs;
        row->finding = scrubbed(utils::maskNumbers(QString::fromUtf8(difference.what())));
    } catch (const NotJudged& reason) {
        row->finding = QString::fromUtf8(reason.what());
    }
    row->exchanges = redactedLines(m_from);
    return row->verdict == Verdict::Kept;
}

QString Tester::newIdentifier()
{
    m_clock.advance();
    return u"conformance-%1-%2"_s.arg(m_name).arg(++m_receipts);
}

bool Tester::openSale(const QList<Line>& lines) { return checkout().openSale(newIdentifier(), lines).ok; }

bool Tester::openSaleWithCard(const QList<Line>& lines)
{
    return openSale(lines) && checkout().identifyByCard(m_terms.card).ok;
}

Payment Tester::pay()
{
    const QList<Line> lines = linesOf(*checkout().receipt());
    Payment payment = checkout().pay();
    if (!payment.ok)
        return payment;
    m_sale = payment.receipt->getIdentifier();
    for (qsizetype i = 0; i < lines.size(); ++i)
        m_unsold.append({static_cast<int>(i) + 1, lines[i].quantity});
    return payment;
}

void Tester::takeBack(const QList<ReturnLine>& lines)
{
    require(checkout().openReturn(newIdentifier(), m_sale, lines));
    require(checkout().pay());
    for (const ReturnLine& back : lines) {
        for (ReturnLine& line : m_unsold)
            line.quantity -= line.posnum == back.posnum ? back.quantity : 0;
    }
    m_unsold.removeIf([](const ReturnLine& line) { return line.quantity <= 0; });
    require(deliver());
}

RestExchange Tester::last(const QString& operation) const
{
    for (qsizetype i = m_exchanges.size(); i > m_from; --i) {
        if (operationOf(m_exchanges[i - 1]) == operation)
            return m_exchanges[i - 1];
    }
    throw NotJudged(u"the plug-in did not ask for %1"_s.arg(operation));
}

std::optional<RestExchange> Tester::lastEver(const QString& operation) const
{
    const auto found =
        std::find_if(m_exchanges.crbegin(), m_exchanges.crend(), [&operation](const RestExchange& exchange) {
            return operationOf(exchange) == operation;
        });
    return found == m_exchanges.crend() ? std::nullopt : std::optional(*found);
}

QHash<QString, QString> Tester::headers() const
{
    return {{u"Authorization"_s, authorizationOf(m_terms.config)},
            {u"Content-Type"_s, u"application/json"_s}};
}

RestExchange Tester::send(const QString& method, const QUrl& url, const QByteArray& body,
                          const QHash<QString, QString>& headers)
{
    const Checkout::Pause pause = checkout().pauseGuard();
    RestClient client;
    client.setTimeout(timeoutOf(m_terms.config));
    if (method == u"GET"_s)
        client.get(url, {}, headers);
    else if (method == u"PUT"_s)
        client.put(url, body, headers);
    else
        client.post(url, body, headers);
    return m_exchanges.last();
}

RestExchange Tester::repeat(const RestExchange& exchange)
{
    return send(exchange.method, exchange.url, exchange.requestBody, headers());
}

RestExchange Tester::repeatWith(const RestExchange& exchange, const QJsonObject& changes,
                                const QString& operation)
{
    QJsonObject body = sentIn(exchange);
    for (auto change = changes.begin(); change != changes.end(); ++change)
        body.insert(change.key(), change.value());
    QUrl url = exchange.url;
    if (!operation.isEmpty())
        url.setPath(url.path().section(u'/', 0, -2) + u'/' + operation);
    return send(exchange.method, url, QJsonDocument(body).toJson(QJsonDocument::Compact), headers());
}

double Tester::balance()
{
    const auto asked = std::find_if(m_exchanges.crbegin(), m_exchanges.crend(), [](const RestExchange& one) {
        return operationOf(one) == u"user-info"_s && one.url.path().contains(u"/card/"_s);
    });
    if (asked == m_exchanges.crend())
        throw NotJudged(u"the card was never taken"_s);
    const double balance = balanceIn(repeat(*asked));
    m_first = m_first.value_or(balance);
    return balance;
}

void Tester::requireBalance(double expected)
{
    const double found = balance();
    require(isSame(found, expected),
            u"the card has %1 points, where it should have %2"_s.arg(points(found), points(expected)));
}

QStringList Tester::redactedLines(qsizetype from) const
{
    constexpr qsizetype longest = 300;
    constexpr qsizetype most = 60;
    QStringList lines;
    for (const RestExchange& exchange : m_exchanges.sliced(from)) {
        QStringList all = redacted(exchange);
        if (all.size() > most)
            all = all.first(most) + QStringList{u"…"_s};
        for (const QString& line : all)
            lines.append(scrubbed(line.size() > longest ? line.left(longest) + u'…' : line));
    }
    return lines;
}

/// A last look: what the tester has told is nobody's business.
QString Tester::scrubbed(QString text) const
{
    for (const QString& number : {m_terms.card, m_terms.phone}) {
        if (!number.isEmpty())
            text.replace(number, utils::maskWhole(number));
    }
    if (!m_terms.code.isEmpty())
        text.replace(QRegularExpression(u"(?<!\\w)%1(?!\\w)"_s.arg(QRegularExpression::escape(m_terms.code))),
                     u"***"_s);
    return text;
}

} // namespace till::conformance
