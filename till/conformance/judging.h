#pragma once

#include "host/network/restclient.h"
#include "till/checkout/results.h"

#include <QJsonObject>
#include <QJsonValue>

#include <optional>
#include <stdexcept>

namespace till::conformance {

/// That the service does not keep the promise in hand; the text says how.
class Difference : public std::runtime_error
{
public:
    explicit Difference(const QString& how)
        : std::runtime_error(how.toStdString())
    {}
};

/// That the promise in hand cannot be judged; the text says why.
class NotJudged : public std::runtime_error
{
public:
    explicit NotJudged(const QString& why)
        : std::runtime_error(why.toStdString())
    {}
};

// Each throws Difference when it is not so.

/// The exchange ended as it should.
void requireAccepted(const RestExchange& exchange);
/// The service looked at the request and said no.
void requireRefused(const RestExchange& exchange);
/// The operation succeeded at the till.
void require(const Result& result);
/// Otherwise that is what differs.
void require(bool holds, const QString& otherwise);
/// Throws NotJudged unless the exchange, which is to be repeated, was accepted.
void requireFirst(const std::optional<RestExchange>& exchange);
/// The second is the answer of the first.
void requireSameAnswer(const RestExchange& first, const RestExchange& second);
/// The value that stands there is a number from 0 on, be it written as a text; `what` names it.
double requireAmount(const QJsonValue& value, const QString& what);

/// The object under "data" of the answer; empty when there is none.
QJsonObject dataOf(const RestExchange& exchange);
/// The object that was sent; empty when it was none.
QJsonObject sentIn(const RestExchange& exchange);
/// The balance that a customer's answer tells, as the plug-in reads it. Throws Difference.
double balanceIn(const RestExchange& exchange);
/// Whether there is a message in the answer's list of errors.
bool hasWords(const RestExchange& exchange);
/// Whether the answer holds that text, wherever.
bool says(const RestExchange& exchange, const QString& text);
/// "user-info": the last part of its address.
QString operationOf(const RestExchange& exchange);
/// "HTTP 404", or RestClient's word for why there is no answer.
QString statusOf(const RestExchange& exchange);
/// Points, for a person: "12.50".
QString points(double amount);
/// Whether they are the same to the hundredth.
bool isSame(double one, double other);

} // namespace till::conformance
