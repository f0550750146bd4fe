#pragma once

#include "stand/faults/fault.h"
#include "stand/service/terms.h"

#include <QCommandLineOption>
#include <QDateTime>
#include <QHostAddress>
#include <QStringList>

namespace stand {

struct Options
{
    QHostAddress address;
    quint16 port = 0;      ///< 0: any free one.
    QStringList hostNames; ///< That the stand goes by besides localhost.
    QString dataFile;      ///< Empty: in memory.
    Credentials credentials;
    Terms terms;
    QList<Fault> faults;
    QString replayFile; ///< Empty: the service answers.
    QByteArray recording;
    QDateTime clock; ///< Invalid: the system's.
    bool untilEof = false;
};

/// Thrown where the program ends before it began: help or version asked for (status 0), or something wrong.
struct EarlyEnd
{
    int status;
    QString text;
};

/// What the command line may hold, in the order of the help.
QList<QCommandLineOption> optionKinds();
/// What --fault takes, line by line.
QString faultHelp();

/// Reads the command line, and the password from where it points to. Throws EarlyEnd.
Options readOptions(const QStringList& arguments);

} // namespace stand
