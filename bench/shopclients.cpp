#include "bench/shopclients.h"

#include <QCoreApplication>

#include <cstdio>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 600'000;

QByteArray lineFrom(QProcess& process)
{
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(patience))
            qFatal("a process of the bench has failed");
    }
    return process.readLine().trimmed();
}

void write(QProcess& process, const char* line)
{
    process.write(line);
    while (process.bytesToWrite() > 0 && process.waitForBytesWritten(patience)) {
    }
}

double computed()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void waitForLine()
{
    for (int got = std::getchar(); got != '\n' && got != EOF; got = std::getchar()) {
    }
}

} // namespace

ShopClients::ShopClients(const QList<QStringList>& arguments)
{
    for (const QStringList& own : arguments) {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QCoreApplication::applicationFilePath(), own);
        m_processes.push_back(std::move(process));
    }
    for (const auto& process : m_processes) {
        if (lineFrom(*process) != "ready")
            qFatal("a process of the bench is not ready");
    }
}

ShopClients::~ShopClients()
{
    for (const auto& process : m_processes)
        process->waitForFinished(patience);
}

void ShopClients::begin()
{
    for (const auto& process : m_processes)
        write(*process, "begin\n");
}

void ShopClients::stop() { begin(); }

ShopClients::Done ShopClients::done()
{
    Done all;
    for (const auto& process : m_processes) {
        const QList<QByteArray> told = lineFrom(*process).split(' ');
        all.computing += told.value(0).toDouble();
        all.failures += told.value(1).toInt();
    }
    return all;
}

ShopClient::ShopClient()
    : m_before(computed())
{
    std::puts("ready");
    std::fflush(stdout);
    waitForLine();
    m_before = computed();
}

void ShopClient::waitForStop() { waitForLine(); }

void ShopClient::tellDone(int failures) const
{
    std::printf("%.6f %d\n", computed() - m_before, failures);
    std::fflush(stdout);
}
