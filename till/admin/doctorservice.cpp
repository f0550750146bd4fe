#include "host/network/probe.h"
#include "host/utils/masking.h"
#include "till/admin/doctor.h"
#include "till/setup/settings.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using State = Finding::State;
using network::ExchangeOutcome;

constexpr int certificateDays = 30;
constexpr qint64 clockNoise = 5;  // seconds
constexpr qint64 clockLimit = 60; // seconds

// The cards of a phone that nobody has. Asking changes nothing, and the service has an answer to it that is
// no refusal, so that "not found" can only mean that the question itself is not known there.
const QString question = u"v2/partner/operation/user/phone/70000000000/user-info"_s;

QUrl questionOf(const Config& config) { return QUrl(serverUrlOf(config) + question); }

network::Probe ask(const Config& config, bool withCredentials)
{
    QHash<QString, QString> headers{{u"Accept"_s, u"application/json"_s}};
    if (withCredentials)
        headers.insert(u"Authorization"_s, authorizationOf(config));
    return network::probe(questionOf(config), headers, timeoutOf(config));
}

/// {"data": {"cards_data": […]}}, or without cards.
bool isCustomer(const QJsonObject& answer)
{
    const QJsonValue data = answer[u"data"_s];
    const QJsonValue cards = data[u"cards_data"_s];
    return data.isObject() && (cards.isUndefined() || cards.isArray());
}

/// {"data": [{"message": a text, or an object of texts}]}
bool isRefusal(const QJsonObject& answer)
{
    const QJsonArray errors = answer[u"data"_s].toArray();
    return std::any_of(errors.begin(), errors.end(), [](const auto& error) {
        const QJsonValue message = error[u"message"_s];
        return message.isString() || message.isObject();
    });
}

/// Whether the body says what only the service says, to an answer of that status.
bool isInItsForm(const network::Probe& probe)
{
    const QJsonObject answer = QJsonDocument::fromJson(probe.body).object();
    return probe.outcome() == ExchangeOutcome::Accepted ? isCustomer(answer) : isRefusal(answer);
}

bool wantsCredentials(const network::Probe& probe)
{
    return probe.outcome() == ExchangeOutcome::Unauthorized || probe.outcome() == ExchangeOutcome::Forbidden;
}

bool isOnThisMachine(const QString& address) { return QHostAddress(address).isLoopback(); }

Finding examineName(const QUrl& url, const network::Probe& probe)
{
    if (probe.resolved)
        return {u"name"_s, State::Ok,
                probe.address.isEmpty() ? url.host() + u" has an address"_s
                                        : u"%1 is %2"_s.arg(url.host(), probe.address)};
    return {u"name"_s, State::Problem, u"%1: %2"_s.arg(url.host(), probe.error),
            u"check KYRLoyalty:serverUrl, and the name server in /etc/resolv.conf"_s};
}

Finding examineConnection(const QUrl& url, const network::Probe& probe)
{
    const QString port = QString::number(url.port(url.scheme() == u"https"_s ? 443 : 80));
    if (probe.connected)
        return {u"connection"_s, State::Ok, u"port %1 answers"_s.arg(port)};
    return {u"connection"_s, State::Problem, u"port %1: %2"_s.arg(port, probe.error),
            u"check the network, a firewall, and that the service runs"_s};
}

Finding examineTls(const QUrl& url, const network::Probe& probe)
{
    if (url.scheme() != u"https"_s) {
        if (isOnThisMachine(probe.address))
            return {u"tls"_s, State::Ok, u"not used, and not needed on this machine"_s};
        return {u"tls"_s, State::Warning, u"not used: customers' data can be read on the way"_s,
                u"use an https address in KYRLoyalty:serverUrl"_s};
    }
    if (!probe.secured)
        return {
            u"tls"_s, State::Problem, probe.error,
            u"install the service's authority in the system, or name it in SSL_CERT_FILE; check the clock"_s};
    const qint64 days = QDateTime::currentDateTimeUtc().daysTo(probe.certificateUntil);
    const QString until = probe.certificateUntil.toString(u"yyyy-MM-dd"_s);
    if (days < certificateDays)
        return {u"tls"_s, State::Warning, u"the service's certificate ends on %1"_s.arg(until),
                u"have the service's operator renew it"_s};
    return {u"tls"_s, State::Ok, u"trusted; the certificate ends on %1"_s.arg(until)};
}

Finding strange(const QString& text, const QString& remedy)
{
    return {u"service"_s, State::Problem, text, remedy};
}

/// Somebody else than the service has accepted the question.
Finding examineStranger(const QString& answered, const QByteArray& body)
{
    if (body.isEmpty())
        return strange(answered + u" with nothing in it: the service would have said something"_s,
                       u"check host and port in KYRLoyalty:serverUrl: something else listens there"_s);
    if (body.startsWith('<'))
        return strange(answered + u" with a web page in it, so somebody else answers"_s,
                       u"open any page in a browser here: the network may ask for a login; else check the "
                       "host in KYRLoyalty:serverUrl"_s);
    return strange(answered + u", but not in the service's form: another program answers"_s,
                   u"check all of KYRLoyalty:serverUrl: host, port and path"_s);
}

/// Of a whole answer that neither sends elsewhere nor says "later".
Finding examineForm(const network::Probe& probe)
{
    const QString answered = u"HTTP %1"_s.arg(probe.status);
    const ExchangeOutcome outcome = probe.outcome();
    const bool isItsForm = isInItsForm(probe);
    if (isItsForm && outcome == ExchangeOutcome::Denied)
        return strange(answered + u" in the service's form, but it does not know the question"_s,
                       u"check the path in KYRLoyalty:serverUrl, behind which \"v2/partner/\" comes"_s);
    if (isItsForm)
        return {u"service"_s, State::Ok, answered + u" in the service's form"_s};
    if (outcome == ExchangeOutcome::Accepted)
        return examineStranger(answered, probe.body.trimmed());
    if (wantsCredentials(probe))
        return strange(answered + u", but not in the service's form: somebody on the way wants a password"_s,
                       u"check KYRLoyalty:serverUrl, and whether a proxy on the way lets the till through"_s);
    return strange(
        answered + u", not in the service's form: there is no service under this address"_s,
        u"check the path in KYRLoyalty:serverUrl, behind which \"v2/partner/\" comes, and the host"_s);
}

Finding examineRedirect(const network::Probe& probe)
{
    const auto onlyThePlace = QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment;
    const QString where = QUrl(probe.redirect).toString(onlyThePlace);
    return strange(u"HTTP %1: redirected%2, so somebody else answers"_s.arg(
                       QString::number(probe.status), where.isEmpty() ? QString() : u" to "_s + where),
                   u"check KYRLoyalty:serverUrl, and whether the network asks for a login"_s);
}

Finding examineAnswer(const network::Probe& probe)
{
    const QString answered = u"HTTP %1"_s.arg(probe.status);
    if (probe.status != 0 && !probe.error.isEmpty())
        return strange(u"%1, but not all of an answer: %2"_s.arg(answered, probe.error),
                       u"look again; if it stays so, ask who runs what lies between till and service"_s);
    switch (probe.outcome()) {
    case ExchangeOutcome::Unsendable:
    case ExchangeOutcome::NeverSent:
    case ExchangeOutcome::NoAnswer:
        return strange(probe.error, u"check that KYRLoyalty:serverUrl is the service's"_s);
    case ExchangeOutcome::NotTheService:
        return examineRedirect(probe);
    case ExchangeOutcome::Failing:
        return {u"service"_s, State::Warning, answered + u": the service has trouble of its own"_s,
                u"wait, or ask its operator; what the till sends waits in the queue"_s};
    case ExchangeOutcome::Unfinished:
    case ExchangeOutcome::Throttled:
        return {u"service"_s, State::Warning, answered + u": whoever answers wants to be asked later"_s,
                u"look again in some minutes"_s};
    case ExchangeOutcome::Accepted:
    case ExchangeOutcome::Rejected:
    case ExchangeOutcome::Unauthorized:
    case ExchangeOutcome::Forbidden:
    case ExchangeOutcome::Denied:
        break;
    }
    return examineForm(probe);
}

Finding refusedCredentials(const Config& config, int status)
{
    const QString user = config.getString(u"KYRLoyalty:user"_s, {});
    const auto missing = [status](const QString& what, const QString& remedy) {
        return Finding{u"credentials"_s, State::Problem,
                       u"no %1 is configured, and one is wanted (HTTP %2)"_s.arg(what).arg(status), remedy};
    };
    if (user.isEmpty())
        return missing(u"user"_s, u"set KYRLoyalty:user, and the password"_s);
    if (config.getString(u"KYRLoyalty:password"_s, {}).isEmpty())
        return missing(u"password"_s,
                       u"write it into a file of its own, and name that in Till:passwordFile"_s);
    return {u"credentials"_s, State::Problem,
            u"the service refuses user '%1' (HTTP %2)"_s.arg(user).arg(status),
            u"check KYRLoyalty:user and the password; the queue goes on as soon as they are right"_s};
}

/// They were accepted by a service that refuses whoever has none; anything less proves nothing.
Finding examineCredentials(const Config& config, const network::Probe& probe, bool isTheService)
{
    if (wantsCredentials(probe))
        return refusedCredentials(config, probe.status);
    if (!isTheService)
        return {u"credentials"_s, State::Warning, u"not judged: it was not the service that answered"_s,
                u"mend first what is said of the service, then look again"_s};
    const network::Probe without = ask(config, false);
    if (wantsCredentials(without))
        return {u"credentials"_s, State::Ok,
                u"accepted for user '%1'"_s.arg(config.getString(u"KYRLoyalty:user"_s, {}))};
    if (!isInItsForm(without))
        return {u"credentials"_s, State::Warning,
                u"not judged: without them there was no answer in the service's form (%1)"_s.arg(
                    without.status == 0 ? without.error : u"HTTP %1"_s.arg(without.status)),
                u"look again in some minutes"_s};
    return {
        u"credentials"_s, State::Warning,
        u"never judged: the service answers without user and password, too (HTTP %1)"_s.arg(without.status),
        u"ask the service's operator: anybody could ask for its customers"_s};
}

Finding examineClock(const network::Probe& probe)
{
    if (!probe.date.isValid())
        return {u"clock"_s, State::Warning, u"the service tells no date to compare with"_s,
                u"keep the clock with a time service, such as systemd-timesyncd"_s};
    const qint64 ahead = probe.date.secsTo(probe.asked);
    if (std::abs(ahead) <= clockNoise)
        return {u"clock"_s, State::Ok, u"agrees with the service's"_s};
    const QString text =
        u"%1 s %2 the service's"_s.arg(std::abs(ahead)).arg(ahead > 0 ? u"ahead of"_s : u"behind"_s);
    return {u"clock"_s, std::abs(ahead) > clockLimit ? State::Problem : State::Warning, text,
            u"set the clock, and keep it with a time service: receipts carry its time"_s};
}

} // namespace

QList<Finding> examineService(const Config& config)
{
    if (!namesService(config))
        return {{u"name"_s, State::Warning, u"no service is configured; the till starts the stand"_s,
                 u"set KYRLoyalty:serverUrl"_s}};
    const QUrl url = questionOf(config);
    const network::Probe probe = ask(config, true);
    QList<Finding> findings{examineName(url, probe)};
    if (!probe.resolved)
        return findings;
    findings.append(examineConnection(url, probe));
    if (!probe.connected)
        return findings;
    findings.append(examineTls(url, probe));
    if (findings.last().state == State::Problem)
        return findings;
    const Finding service = examineAnswer(probe);
    findings.append(service);
    if (probe.status != 0)
        findings.append(examineCredentials(config, probe, service.state == State::Ok));
    if (service.state != State::Problem)
        findings.append(examineClock(probe));
    return findings;
}

} // namespace till
