#include "stand/books/clock.h"
#include "stand/http/server.h"
#include "stand/program/lifetime.h"
#include "stand/program/options.h"
#include "stand/replay/replay.h"
#include "stand/stand.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>
#include <exception>

using namespace Qt::StringLiterals;

namespace {

void tell(const stand::Server& server)
{
    QTextStream(stdout) << "The stand listens on " << server.url().toString() << Qt::endl;
}

int replay(const stand::Options& options)
{
    stand::Replay recording(options.recording, options.replayFile);
    const stand::Server server(options.address, options.port, [&recording](const stand::Request& request) {
        return recording.react(request);
    });
    tell(server);
    const int status = QCoreApplication::exec();
    for (const auto& difference : recording.differences())
        QTextStream(stderr) << "stand: " << difference << Qt::endl;
    return status;
}

int run(const stand::Options& options)
{
    stand::quitOnSignals(qApp);
    if (options.untilEof)
        stand::quitOnEndOfInput(qApp);
    if (!options.replayFile.isEmpty())
        return replay(options);
    if (options.clock.isValid())
        stand::setClock(options.clock);
    stand::Stand whole(options.dataFile, options.credentials, options.terms,
                       stand::Gate(options.address, options.hostNames));
    whole.faults().arm(options.faults);
    stand::Server server(options.address, options.port,
                         [&whole](const stand::Request& request) { return whole.react(request); });
    tell(server);
    if (const auto closed = whole.faults().portClosedFor(); closed.count() > 0)
        server.closePort(closed);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"stand"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(STAND_VERSION));

    try {
        return run(stand::readOptions(QCoreApplication::arguments()));
    } catch (const stand::EarlyEnd& end) {
        QTextStream(end.status == 0 ? stdout : stderr) << end.text << Qt::endl;
        if (std::ferror(stdout) == 0)
            return end.status;
        QTextStream(stderr) << "stand: the standard output cannot be written" << Qt::endl;
        return 1;
    } catch (const std::exception& error) {
        QTextStream(stderr) << "stand: " << error.what() << Qt::endl;
        return 1;
    }
}
