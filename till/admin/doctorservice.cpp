#include "host/network/probe.h"
#include "host/utils/masking.h"
#include "till/admin/doctor.h"
#include "till/setup/settings.h"

#include <QHostAddress>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using State = Finding::State;
using network::ExchangeOutcome;

constexpr int certificateDays = 30;
constexpr qint64 clockNoise = 5;  // seconds
constexpr qint64 clockLimit = 60; // seconds

// A page that asks for credentials and changes nothing, whatever it answers.
const QString page = u"v2/partner/card/0/card-info"_s;

QUrl pageOf(const Config& config) { return QUrl(serverUrlOf(config) + page); }

QHash<QString, QString> headersOf(const Config& config)
{
    return {{u"Authorization"_s, authorizationOf(config)}, {u"Accept"_s, u"application/json"_s}};
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

Finding examineAnswer(const network::Probe& probe)
{
    const QString answered = u"HTTP %1"_s.arg(probe.status);
    switch (probe.outcome()) {
    case ExchangeOutcome::Unsendable:
    case ExchangeOutcome::NeverSent:
    case ExchangeOutcome::NoAnswer:
        return {u"service"_s, State::Problem, probe.error,
                u"check that KYRLoyalty:serverUrl is the service's"_s};
    case ExchangeOutcome::NotTheService:
        return {u"service"_s, State::Problem, answered + u": redirected, so somebody else answers"_s,
                u"check KYRLoyalty:serverUrl, and whether the network asks for a login"_s};
    case ExchangeOutcome::Failing:
        return {u"service"_s, State::Warning, answered + u": the service has trouble of its own"_s,
                u"wait, or ask its operator; what the till sends waits in the queue"_s};
    case ExchangeOutcome::Accepted:
    case ExchangeOutcome::Rejected:
    case ExchangeOutcome::Unauthorized:
    case ExchangeOutcome::Forbidden:
    case ExchangeOutcome::Denied:
    case ExchangeOutcome::Unfinished:
    case ExchangeOutcome::Throttled:
        break;
    }
    return {u"service"_s, State::Ok, answered};
}

Finding examineCredentials(const Config& config, const network::Probe& probe)
{
    const ExchangeOutcome outcome = probe.outcome();
    const QString user = config.getString(u"KYRLoyalty:user"_s, {});
    if (outcome == ExchangeOutcome::Unauthorized || outcome == ExchangeOutcome::Forbidden)
        return {u"credentials"_s, State::Problem,
                u"the service refuses user '%1' (HTTP %2)"_s.arg(user).arg(probe.status),
                u"check KYRLoyalty:user and the password; the queue goes on as soon as they are right"_s};
    return {u"credentials"_s, State::Ok, u"accepted for user '%1'"_s.arg(user)};
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
    const QUrl url = pageOf(config);
    const network::Probe probe = network::probe(url, headersOf(config), timeoutOf(config));
    QList<Finding> findings{examineName(url, probe)};
    if (!probe.resolved)
        return findings;
    findings.append(examineConnection(url, probe));
    if (!probe.connected)
        return findings;
    findings.append(examineTls(url, probe));
    if (findings.last().state == State::Problem)
        return findings;
    findings.append(examineAnswer(probe));
    if (findings.last().state == State::Ok)
        findings.append(examineCredentials(config, probe));
    if (probe.outcome() != ExchangeOutcome::NoAnswer)
        findings.append(examineClock(probe));
    return findings;
}

} // namespace till
