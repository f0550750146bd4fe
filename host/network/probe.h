#pragma once

#include "host/network/exchangeoutcome.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>

namespace network {

/// What one GET told of the way to a service, step by step: each step is reached only when those before it
/// went well.
struct Probe
{
    bool resolved = false;  ///< the server's name has an address
    bool connected = false; ///< somebody listens there
    bool secured = false;   ///< TLS with a trusted certificate; stays false without TLS
    int status = 0;         ///< of the HTTP answer; 0: none came

    QString address;            ///< that was reached, or tried last
    QDateTime certificateUntil; ///< end of the server's certificate, when it was trusted
    QDateTime date;             ///< the answer's Date, UTC; invalid: it had none
    QDateTime asked;            ///< this machine's time when that date came in, UTC
    QByteArray body;            ///< the answer's, as far as it came; of a longer one the first 64 KiB
    QString redirect;           ///< where the answer sends whoever asks; empty: nowhere
    QString error;              ///< libcurl's own words for the step that failed; empty: none failed

    /// By the status alone: what the body holds is not looked at.
    [[nodiscard]] ExchangeOutcome outcome() const { return outcomeOf(codeOf(status, true)); }
};

/// Asks for that page once, as RestClient would: no proxy, no redirects, the same trusted certificates. Waits
/// so many seconds at most.
HOST_EXPORT Probe probe(const QUrl& url, const QHash<QString, QString>& headers, int timeout);

} // namespace network
