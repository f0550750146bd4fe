#include "tests/crash/tracedtill.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace crashtest {

namespace {

constexpr int patienceMs = 60'000;

Ended run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    // The leak sanitizer traces the program itself, which nobody can do twice.
    environment.insert(u"ASAN_OPTIONS"_s, environment.value(u"ASAN_OPTIONS"_s) + u":detect_leaks=0"_s);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    Ended ended;
    if (!process.waitForFinished(patienceMs)) {
        ended.errors = program.toUtf8() + " did not end: " + process.errorString().toUtf8();
        return ended;
    }
    ended.killed = process.exitStatus() == QProcess::CrashExit;
    ended.status = ended.killed ? -1 : process.exitCode();
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        const QJsonObject step = QJsonDocument::fromJson(line).object();
        if (step.contains(u"step"_s))
            ended.steps.append(step);
    }
    ended.errors = process.readAllStandardError();
    return ended;
}

QStringList traced(const QStringList& options, const QStringList& arguments)
{
    return QStringList{u"-f"_s, u"-qq"_s} + options + QStringList{QStringLiteral(TILL_PROGRAM)} + arguments;
}

} // namespace

const QStringList& deadlyCalls()
{
    static const QStringList calls{u"write"_s,  u"pwrite64"_s,  u"fsync"_s, u"fdatasync"_s, u"ftruncate"_s,
                                   u"rename"_s, u"renameat2"_s, u"link"_s,  u"unlink"_s,    u"connect"_s,
                                   u"sendto"_s, u"recvfrom"_s,  u"poll"_s};
    return calls;
}

Ended runTill(const QStringList& arguments) { return run(QStringLiteral(TILL_PROGRAM), arguments); }

Ended runTillKilledAt(const QString& call, int number, const QStringList& arguments)
{
    return run(u"strace"_s, traced({u"-o"_s, u"/dev/null"_s, u"-e"_s, u"trace="_s + call, u"-e"_s,
                                    u"inject=%1:signal=KILL:when=%2"_s.arg(call, QString::number(number))},
                                   arguments));
}

QMap<QString, int> countCalls(const QStringList& arguments)
{
    const QTemporaryDir directory;
    const QString log = directory.filePath(u"calls"_s);
    run(u"strace"_s, traced({u"-o"_s, log, u"-e"_s, u"trace="_s + deadlyCalls().join(u',')}, arguments));
    QMap<QString, int> counts;
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly))
        return counts;
    // "PID call(…": strace counts the calls of each thread on its own, and so do we, by the first one.
    const QList<QByteArray> lines = file.readAll().split('\n');
    const QByteArray first = lines.first().split(' ').first();
    for (const QByteArray& line : lines) {
        const auto bracket = line.indexOf('(');
        if (line.startsWith(first + ' ') && bracket > 0)
            ++counts[QString::fromLatin1(line.mid(first.size(), bracket - first.size()).trimmed())];
    }
    return counts;
}

QString tracingFault()
{
    if (QStandardPaths::findExecutable(u"strace"_s).isEmpty())
        return u"strace is not installed; install it, or run .ci/install"_s;
    const Ended ended = run(u"strace"_s, {u"-o"_s, u"/dev/null"_s, u"true"_s});
    if (ended.status == 0)
        return {};
    return u"strace may not trace programs here (in a container it takes the capability SYS_PTRACE): "_s +
           QString::fromUtf8(ended.errors).trimmed();
}

} // namespace crashtest
