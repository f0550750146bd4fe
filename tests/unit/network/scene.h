#pragma once

#include "host/network/restclient.h"
#include "tests/support/httpserver.h"

#include <QElapsedTimer>

using RestHeaders = QHash<QString, QString>;

/// Trusted by this process from before its first request, for 127.0.0.1 and localhost.
const test_support::Certificate& trustedCertificate();

/// Trusted as well, but for another host.
const test_support::Certificate& certificateOfAnotherHost();

/// Points SSL_CERT_FILE at a file with the certificates above; to be called once, before the tests.
void trustTheTestCertificates();

/// What a request came to, in a form that a failing expectation shows.
struct Outcome
{
    int errorCode = -1;
    QVariant response;
    qint64 milliseconds = -1;
};

/// GETs the URL with a fresh client; a limit of 20 seconds shows an answer that should have come at once as a
/// failure rather than a hang.
Outcome get(const QUrl& url, int timeoutSeconds = 20);

/// GETs an answer that a server gives to a single request.
Outcome getAnswer(const test_support::HttpAnswer& answer, int timeoutSeconds = 20);

constexpr int code(RestClient::ErrorCode errorCode) { return static_cast<int>(errorCode); }
