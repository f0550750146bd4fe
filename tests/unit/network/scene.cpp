#include "tests/unit/network/scene.h"

#include <QTemporaryDir>

using test_support::Certificate;
using test_support::HttpAnswer;
using test_support::HttpServer;
using namespace Qt::StringLiterals;

const Certificate& trustedCertificate()
{
    static const Certificate certificate;
    return certificate;
}

const Certificate& certificateOfAnotherHost()
{
    static const Certificate certificate({"DNS:elsewhere.test"});
    return certificate;
}

void trustTheTestCertificates()
{
    static const QTemporaryDir directory;
    QFile bundle(directory.filePath(u"trusted.pem"_s));
    if (!bundle.open(QIODevice::WriteOnly) ||
        bundle.write(trustedCertificate().pem() + certificateOfAnotherHost().pem()) < 0)
        qFatal("The file of trusted certificates cannot be written");
    bundle.close();
    qputenv("SSL_CERT_FILE", bundle.fileName().toLocal8Bit());
}

Outcome get(const QUrl& url, int timeoutSeconds)
{
    RestClient client;
    client.setTimeout(timeoutSeconds);
    QElapsedTimer clock;
    clock.start();
    client.get(url, {}, {});
    return {client.getErrorCode(), client.getResponse(), clock.elapsed()};
}

Outcome getAnswer(const HttpAnswer& answer, int timeoutSeconds)
{
    HttpServer server;
    server.enqueue(answer);
    return get(server.url(), timeoutSeconds);
}
