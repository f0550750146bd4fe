#include "stand/options.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr int exitFailed = 1;
constexpr int exitMisused = 2;
constexpr auto passwordVariable = "KYR_STAND_PASSWORD";

EarlyEnd misused(const QString& what)
{
    return {exitMisused, u"stand: %1\nTry \"stand --help\"."_s.arg(what)};
}

/// The first line of the file, as an editor or `echo` would leave it.
std::variant<QString, EarlyEnd> passwordFrom(const QString& name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        return EarlyEnd{exitFailed,
                        u"stand: Cannot read the password file %1: %2"_s.arg(name, file.errorString())};
    }
    auto line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    if (line.isEmpty())
        return EarlyEnd{exitFailed, u"stand: The password file %1 is empty"_s.arg(name)};
    return QString::fromUtf8(line);
}

} // namespace

std::variant<Options, EarlyEnd> readOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"A stand-in for the loyalty service: JSON over HTTP, with demonstration cards (see /stand/cards) "
        u"and\n"
        "a log of what it was asked (see /stand/exchanges). Runs until SIGTERM or SIGINT.\n\n"
        "The password is read from the password file, else from the environment variable\n"
        "KYR_STAND_PASSWORD, else it is \"secret-of-the-shop\"."_s);
    const QCommandLineOption address(u"address"_s, u"Address to listen on."_s, u"A"_s, u"127.0.0.1"_s);
    const QCommandLineOption port(u"port"_s, u"Port to listen on; 0 takes any free one."_s, u"N"_s, u"0"_s);
    const QCommandLineOption data(u"data"_s, u"SQLite file to keep the data in; without it, in memory."_s,
                                  u"FILE"_s);
    const QCommandLineOption user(u"user"_s, u"User name of the Basic authentication."_s, u"U"_s, u"shop"_s);
    const QCommandLineOption password(u"password-file"_s, u"File whose first line is the password."_s,
                                      u"FILE"_s);
    const QCommandLineOption untilEof(u"until-eof"_s, u"Stop also when the standard input is closed."_s);
    // Not addHelpOption(): it would also bring --help-all, with options of Qt's that are nobody's business
    // here.
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Show this help."_s);
    parser.addOptions({help, address, port, data, user, password, untilEof});
    const auto version = parser.addVersionOption();

    if (!parser.parse(arguments))
        return misused(parser.errorText());
    if (parser.isSet(help))
        return EarlyEnd{0, parser.helpText().trimmed()};
    if (parser.isSet(version))
        return EarlyEnd{0,
                        QCoreApplication::applicationName() + u' ' + QCoreApplication::applicationVersion()};
    if (!parser.positionalArguments().isEmpty())
        return misused(u"Unexpected argument '%1'."_s.arg(parser.positionalArguments().constFirst()));

    Options options;
    if (!options.address.setAddress(parser.value(address)))
        return misused(u"'%1' is not an IP address."_s.arg(parser.value(address)));
    bool isPort = false;
    options.port = parser.value(port).toUShort(&isPort);
    if (!isPort)
        return misused(u"'%1' is not a port number (0 to 65535)."_s.arg(parser.value(port)));
    options.dataFile = parser.value(data);
    options.untilEof = parser.isSet(untilEof);
    options.credentials.user = parser.value(user);
    if (options.credentials.user.contains(u':'))
        return misused(u"A user name has no colon in Basic authentication."_s);

    if (parser.isSet(password)) {
        auto read = passwordFrom(parser.value(password));
        if (const auto* end = std::get_if<EarlyEnd>(&read))
            return *end;
        options.credentials.password = std::get<QString>(read);
    } else if (auto given = qEnvironmentVariable(passwordVariable); !given.isEmpty()) {
        options.credentials.password = given;
    }
    return options;
}

} // namespace stand
