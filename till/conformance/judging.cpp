#include "till/conformance/judging.h"

#include "host/network/exchangeoutcome.h"
#include "host/utils/money.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::conformance {

using network::ExchangeOutcome;

void requireAccepted(const RestExchange& exchange)
{
    require(network::outcomeOf(exchange.errorCode) == ExchangeOutcome::Accepted,
            u"%1 was answered with %2"_s.arg(operationOf(exchange), statusOf(exchange)));
}

void requireRefused(const RestExchange& exchange)
{
    const ExchangeOutcome outcome = network::outcomeOf(exchange.errorCode);
    require(outcome == ExchangeOutcome::Rejected || outcome == ExchangeOutcome::Forbidden ||
                outcome == ExchangeOutcome::Denied,
            u"%1 was answered with %2, not refused"_s.arg(operationOf(exchange), statusOf(exchange)));
}

void require(const Result& result) { require(result.ok, u"the cashier reads: "_s + result.error); }

void require(bool holds, const QString& otherwise)
{
    if (!holds)
        throw Difference(otherwise);
}

void requireFirst(const std::optional<RestExchange>& exchange)
{
    if (!exchange || network::outcomeOf(exchange->errorCode) != ExchangeOutcome::Accepted)
        throw NotJudged(u"there was no first answer"_s);
}

void requireSameAnswer(const RestExchange& first, const RestExchange& second)
{
    requireAccepted(second);
    require(QJsonDocument::fromJson(first.answerBody) == QJsonDocument::fromJson(second.answerBody),
            u"the second answer of %1 is another"_s.arg(operationOf(second)));
}

double requireAmount(const QJsonValue& value, const QString& what)
{
    bool isNumber = false;
    const double amount = value.isBool() ? 0 : value.toVariant().toDouble(&isNumber);
    require(isNumber && amount >= 0, what + u" is no number from 0 on"_s);
    return amount;
}

QJsonObject dataOf(const RestExchange& exchange)
{
    return QJsonDocument::fromJson(exchange.answerBody).object().value(u"data"_s).toObject();
}

QJsonObject sentIn(const RestExchange& exchange)
{
    return QJsonDocument::fromJson(exchange.requestBody).object();
}

double balanceIn(const RestExchange& exchange)
{
    requireAccepted(exchange);
    const QJsonArray accounts = dataOf(exchange).value(u"accounts_data"_s).toArray();
    require(!accounts.isEmpty(), u"\"accounts_data\" is no list of accounts"_s);
    QString text = accounts.first()[u"avialable"_s].toVariant().toString();
    bool isNumber = false;
    const double balance = text.replace(u',', u'.').remove(u' ').toDouble(&isNumber);
    require(isNumber, u"the first account's \"avialable\" is no number"_s);
    return balance;
}

namespace {

bool holds(const QJsonValue& value, const QString& text)
{
    const auto within = [&text](const QJsonValue& part) { return holds(part, text); };
    if (value.isArray()) {
        const QJsonArray list = value.toArray();
        return std::any_of(list.begin(), list.end(), within);
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        return std::any_of(object.begin(), object.end(), within);
    }
    return value.toString().contains(text);
}

} // namespace

bool hasWords(const RestExchange& exchange)
{
    const QJsonValue errors = QJsonDocument::fromJson(exchange.answerBody).object().value(u"data"_s);
    const QJsonArray list = errors.toArray(); // empty when it is none
    return std::any_of(list.begin(), list.end(), [](const QJsonValue& error) {
        const QJsonValue message = error[u"message"_s];
        return !message.toString().isEmpty() || !message.toObject().isEmpty();
    });
}

bool says(const RestExchange& exchange, const QString& text)
{
    const QJsonDocument answer = QJsonDocument::fromJson(exchange.answerBody);
    return answer.isArray() ? holds(answer.array(), text) : holds(answer.object(), text);
}

QString operationOf(const RestExchange& exchange) { return exchange.url.path().section(u'/', -1); }

QString statusOf(const RestExchange& exchange)
{
    const QString failure = network::failureName(exchange.errorCode);
    return failure.isEmpty() ? u"HTTP %1"_s.arg(exchange.status) : failure;
}

QString points(double amount) { return QString::number(amount, 'f', 2); }

bool isSame(double one, double other) { return utils::toHundredths(one) == utils::toHundredths(other); }

} // namespace till::conformance
