#include "bench/baselines.h"
#include "bench/peer.h"
#include "host/network/restclient.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

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
    QByteArray body = "{\"name\":\"" + QByteArray(2048 - 11, 'x') + "\"}";

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

void viaRestClient(benchmark::State& state, const QUrl& url, const QByteArray& body)
{
    for (auto _ : state) {
        RestClient client;
        if (body.isEmpty())
            client.get(url, {}, {});
        else
            client.post(url, body, {});
        if (client.getErrorCode() != 0)
            state.SkipWithError("RestClient got no answer");
    }
}

void viaSockets(benchmark::State& state, int port, const std::string& request)
{
    for (auto _ : state) {
        if (!rawExchange(port, request))
            state.SkipWithError("the sockets got no answer");
    }
}

void viaCurl(benchmark::State& state, const std::string& url, const std::string& body,
             const std::string& bundle)
{
    for (auto _ : state) {
        if (!curlExchange(url, body, bundle))
            state.SkipWithError("libcurl got no answer");
    }
}

void registerRows(const Scene& scene)
{
    const auto add = [](const char* name, auto row) {
        benchmark::RegisterBenchmark(name, std::move(row))->UseRealTime()->Unit(benchmark::kMicrosecond);
    };
    for (const bool post : {false, true}) {
        const QByteArray body = post ? scene.body : QByteArray();
        const std::string method = post ? "post" : "get";
        add((method + "/rest_client").c_str(),
            [=, url = scene.url(false)](benchmark::State& state) { viaRestClient(state, url, body); });
        add((method + "/sockets").c_str(),
            [port = scene.plain.port(), request = scene.rawRequest(post)](benchmark::State& state) {
                viaSockets(state, port, request);
            });
        add((method + "_tls/rest_client").c_str(),
            [=, url = scene.url(true)](benchmark::State& state) { viaRestClient(state, url, body); });
        add((method + "_tls/curl").c_str(),
            [url = scene.url(true).toString().toStdString(), text = body.toStdString(),
             bundle = scene.bundle.toStdString()](benchmark::State& state) {
                viaCurl(state, url, text, bundle);
            });
    }
}

/// Shows the table as usual and keeps each row's median.
class Medians : public benchmark::ConsoleReporter
{
public:
    Medians()
        : ConsoleReporter(OO_Tabular)
    {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            failed = failed || run.error_occurred;
            if (run.run_type == Run::RT_Aggregate ? run.aggregate_name == "median" : run.repetitions <= 1)
                times[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
    }

    std::map<std::string, double> times;
    bool failed = false;
};

double residentKib()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    constexpr double pageKib = 4;
    return file.readAll().split(' ').value(1).toDouble() * pageKib;
}

/// How much a thousand requests, half of them over TLS, add to the resident memory once warm.
double memoryGrowth(const Scene& scene)
{
    const auto requests = [&scene](int count) {
        for (int i = 0; i < count; ++i) {
            RestClient client;
            client.post(scene.url(i % 2 == 0), scene.body, {});
        }
    };
    requests(memoryRequests);
    const double before = residentKib();
    requests(memoryRequests);
    return residentKib() - before;
}

bool report(const char* what, double value, double bound, const char* unit)
{
    const bool holds = value <= bound;
    std::printf("%-52s %8.2f%s (bound %.2f%s) %s\n", what, value, unit, bound, unit, holds ? "ok" : "over");
    return holds;
}

bool reportAll(std::map<std::string, double>& times, const Scene& scene)
{
    std::printf("\n");
    constexpr double overSockets = 2.5;
    constexpr double overCurl = 1.5;
    bool holds =
        report("GET to blocking sockets", times["get/rest_client"] / times["get/sockets"], overSockets, "");
    holds &= report("POST of 2 KB to blocking sockets", times["post/rest_client"] / times["post/sockets"],
                    overSockets, "");
    holds &= report("TLS GET to a libcurl handle with the CA bundle",
                    times["get_tls/rest_client"] / times["get_tls/curl"], overCurl, "");
    holds &= report("TLS POST of 2 KB to a libcurl handle with the bundle",
                    times["post_tls/rest_client"] / times["post_tls/curl"], overCurl, "");
    holds &= report("resident growth over 1000 requests", memoryGrowth(scene), memoryBound, " KiB");
    return holds;
}

} // namespace

int main(int argc, char** argv)
{
    const Scene scene;
    // A log line costs what its appender costs, which is not this library's to measure.
    QLoggingCategory::setFilterRules(u"network.debug=false"_s);

    bool check = false;
    std::vector<char*> arguments{argv[0]};
    // Before the caller's own, so that those win.
    std::string repetitions = "--benchmark_repetitions=15";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=true";
    for (std::string* option : {&repetitions, &interleaving, &aggregates})
        arguments.push_back(option->data());
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--check")
            check = true;
        else
            arguments.push_back(argv[i]);
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;

    registerRows(scene);
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    const bool holds = reportAll(medians.times, scene);
    if (medians.failed)
        return 1;
    return check && !holds ? 1 : 0;
}
