#include "bench/baselines.h"
#include "bench/peer.h"
#include "bench/table.h"
#include "host/network/restclient.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <string>

using namespace Qt::StringLiterals;

namespace {

constexpr int memoryRequests = 1000;
constexpr double memoryBound = 64; // KiB over all those requests: a page here and there, not a leak of each

/// What every row needs; made before the first thread.
struct Scene
{
    test_support::Certificate certificate;
    Peer plain{nullptr};
    Peer secure{&certificate};
    QTemporaryDir directory;
    QString bundle = directory.filePath(u"trusted.pem"_s);
    QByteArray body = R"({"name":")" + QByteArray(2048 - 11, 'x') + R"("})";

    Scene()
    {
        QFile system(u"/etc/ssl/certs/ca-certificates.crt"_s);
        QFile file(bundle);
        if (!system.open(QIODevice::ReadOnly) || !file.open(QIODevice::WriteOnly) ||
            file.write(system.readAll() + certificate.pem()) < 0)
            qFatal("The bundle of trusted certificates cannot be made");
        qputenv("SSL_CERT_FILE", bundle.toLocal8Bit());
    }

    [[nodiscard]] QUrl url(bool tls) const
    {
        return QUrl(u"%1://127.0.0.1:%2/v1/exchange"_s.arg(tls ? u"https"_s : u"http"_s)
                        .arg((tls ? secure : plain).port()));
    }

    /// What RestClient sends, byte for byte but for its user agent.
    [[nodiscard]] std::string rawRequest(bool post) const
    {
        const QByteArray head = (post ? "POST"_ba : "GET"_ba) + " /v1/exchange HTTP/1.1\r\nHost: 127.0.0.1:" +
                                QByteArray::number(plain.port()) +
                                "\r\nUser-Agent: bench\r\nAccept: */*\r\nConnection: close\r\n";
        const QByteArray about =
            "Content-Type: application/json\r\nContent-Length: " + QByteArray::number(body.size());
        return (post ? head + about + "\r\n\r\n" + body : head + "\r\n").toStdString();
    }
};

/// Made at the first call, which has to come before the first thread; its peers end with the process.
const Scene& scene()
{
    static const Scene made;
    return made;
}

enum class Method { Get, Post };
enum class Transport { Plain, Tls };

void restClient(benchmark::State& state, Method method, Transport transport)
{
    const QUrl url = scene().url(transport == Transport::Tls);
    while (state.KeepRunning()) {
        RestClient client;
        if (method == Method::Get)
            client.get(url, {}, {});
        else
            client.post(url, scene().body, {});
        if (client.getErrorCode() != 0)
            state.SkipWithError("RestClient got no answer");
    }
}

void sockets(benchmark::State& state, Method method)
{
    const std::string request = scene().rawRequest(method == Method::Post);
    while (state.KeepRunning()) {
        if (!rawExchange(scene().plain.port(), request))
            state.SkipWithError("the sockets got no answer");
    }
}

void curl(benchmark::State& state, Method method)
{
    const std::string url = scene().url(true).toString().toStdString();
    const std::string body = method == Method::Post ? scene().body.toStdString() : std::string();
    const std::string bundle = scene().bundle.toStdString();
    while (state.KeepRunning()) {
        if (!curlExchange(url, body, bundle))
            state.SkipWithError("libcurl got no answer");
    }
}

BENCHMARK_CAPTURE(restClient, get, Method::Get, Transport::Plain)->UseRealTime();
BENCHMARK_CAPTURE(sockets, get, Method::Get)->UseRealTime();
BENCHMARK_CAPTURE(restClient, post, Method::Post, Transport::Plain)->UseRealTime();
BENCHMARK_CAPTURE(sockets, post, Method::Post)->UseRealTime();
BENCHMARK_CAPTURE(restClient, get_tls, Method::Get, Transport::Tls)->UseRealTime();
BENCHMARK_CAPTURE(curl, get_tls, Method::Get)->UseRealTime();
BENCHMARK_CAPTURE(restClient, post_tls, Method::Post, Transport::Tls)->UseRealTime();
BENCHMARK_CAPTURE(curl, post_tls, Method::Post)->UseRealTime();

/// How much a thousand requests, half of them over TLS, add to the resident memory once warm.
double memoryGrowth()
{
    const auto requests = [](int count) {
        for (int i = 0; i < count; ++i) {
            RestClient client;
            client.post(scene().url(i % 2 == 0), scene().body, {});
        }
    };
    requests(memoryRequests);
    const double before = bench::residentKib();
    requests(memoryRequests);
    return bench::residentKib() - before;
}

/// Whether all bounds hold.
bool reportAll(bench::Medians& times)
{
    constexpr double overSockets = 2.5;
    constexpr double overCurl = 1.5;
    const auto ratio = [&times](const char* what, const char* ours, const char* theirs, double bound) {
        return bench::report(what, times[ours] / times[theirs], bound, "");
    };
    bool holds = ratio("GET to blocking sockets", "restClient/get", "sockets/get", overSockets);
    holds &= ratio("POST of 2 KB to blocking sockets", "restClient/post", "sockets/post", overSockets);
    holds &= ratio("TLS GET to a libcurl handle with the CA bundle", "restClient/get_tls", "curl/get_tls",
                   overCurl);
    holds &= ratio("TLS POST of 2 KB to a libcurl handle with the bundle", "restClient/post_tls",
                   "curl/post_tls", overCurl);
    holds &= bench::report("resident growth over 1000 requests", memoryGrowth(), memoryBound, " KiB");
    return holds;
}

} // namespace

int main(int argc, char** argv)
{
    static_cast<void>(scene());
    // A log line costs what its appender costs, which is not this library's to measure.
    QLoggingCategory::setFilterRules(u"network.debug=false"_s);
    return bench::run(argc, argv, reportAll);
}
