#include "stand/program/options.h"

#include "stand/program/versions.h"

#include <QCommandLineParser>
#include <QFile>

#include <optional>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr int exitFailed = 1;
constexpr int exitMisused = 2;
constexpr auto passwordVariable = "KYR_STAND_PASSWORD";

[[noreturn]] void misused(const QString& what)
{
    throw EarlyEnd{exitMisused, u"stand: %1\nTry \"stand --help\"."_s.arg(what)};
}

QByteArray contentOf(const QString& name, const QString& what)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw EarlyEnd{exitFailed,
                       u"stand: Cannot read the %1 file %2: %3"_s.arg(what, name, file.errorString())};
    return file.readAll();
}

/// The first line of the file, as an editor or `echo` would leave it.
QString passwordFrom(const QString& name)
{
    auto line = contentOf(name, u"password"_s).split('\n').constFirst();
    while (line.endsWith('\r'))
        line.chop(1);
    if (line.isEmpty())
        throw EarlyEnd{exitFailed, u"stand: The password file %1 is empty"_s.arg(name)};
    return QString::fromUtf8(line);
}

/// The options that say what points are worth and how their spending is confirmed.
struct TermsOptions
{
    QCommandLineOption ratio{u"ratio"_s, u"So many points are worth so much money."_s, u"POINTS:MONEY"_s,
                             u"1:1"_s};
    QCommandLineOption earn{u"earn-percent"_s, u"Part of a receipt that is earned in points."_s, u"P"_s,
                            u"5"_s};
    QCommandLineOption spend{u"spend-percent"_s, u"Part of a position that points may pay."_s, u"P"_s,
                             u"50"_s};
    QCommandLineOption code{u"sms-code"_s,
                            u"The code that confirms every spending; without it, a random one for each."_s,
                            u"CODE"_s};
    QCommandLineOption lifetime{u"code-lifetime"_s, u"How long a code may be entered."_s, u"SECONDS"_s,
                                u"300"_s};
    QCommandLineOption attempts{u"code-attempts"_s, u"How often a code may be entered."_s, u"N"_s, u"3"_s};
};

/// All others.
struct GeneralOptions
{
    // Not addHelpOption(): it would also bring --help-all, with options of Qt's that are nobody's business
    // here.
    QCommandLineOption help{{u"h"_s, u"help"_s}, u"Show this help."_s};
    QCommandLineOption version{{u"v"_s, u"version"_s},
                               u"Show the version, and those of the libraries that it runs with."_s};
    QCommandLineOption address{u"address"_s, u"Address to listen on."_s, u"A"_s, u"127.0.0.1"_s};
    QCommandLineOption port{u"port"_s, u"Port to listen on; 0 takes any free one."_s, u"N"_s, u"0"_s};
    QCommandLineOption hostName{
        u"host-name"_s,
        u"Another name under which the stand's own pages may be opened, besides localhost and its addresses; "
        "may be given again."_s,
        u"NAME"_s};
    QCommandLineOption data{u"data"_s, u"SQLite file to keep the data in; without it, in memory."_s,
                            u"FILE"_s};
    QCommandLineOption user{u"user"_s, u"User name of the Basic authentication."_s, u"U"_s, u"shop"_s};
    QCommandLineOption password{u"password-file"_s, u"File whose first line is the password."_s, u"FILE"_s};
    QCommandLineOption fault{
        u"fault"_s, u"Something that goes wrong on purpose, see below; may be given again."_s, u"FAULT"_s};
    QCommandLineOption faults{u"faults"_s, u"JSON file with a list of such faults."_s, u"FILE"_s};
    QCommandLineOption replay{u"replay"_s,
                              u"Answer as a till's recording (--record) has it, and nothing else; at the end "
                              "say what was not recorded."_s,
                              u"FILE"_s};
    QCommandLineOption clock{u"clock"_s,
                             u"The time to begin with, such as 2026-12-01T00:00:00Z; without it, the "
                             "system's. POST /stand/clock moves it forward."_s,
                             u"TIME"_s};
    QCommandLineOption untilEof{u"until-eof"_s, u"Stop also when the standard input is closed."_s};
};

QList<QCommandLineOption> optionsOf(const GeneralOptions& general, const TermsOptions& terms)
{
    return {general.help,   general.version, general.address,  general.port,  general.hostName,
            general.data,   general.user,    general.password, general.fault, general.faults,
            general.replay, general.clock,   general.untilEof, terms.ratio,   terms.earn,
            terms.spend,    terms.code,      terms.lifetime,   terms.attempts};
}

/// A whole number within the bounds, or nothing.
std::optional<qint64> wholeNumber(const QString& text, qint64 least, qint64 most)
{
    bool isNumber = false;
    const auto number = text.toLongLong(&isNumber);
    return isNumber && number >= least && number <= most ? std::optional(number) : std::nullopt;
}

/// Hundredths of a percent, from "5" or "2.50".
std::optional<qint64> percent(const QString& text)
{
    const auto hundredths = read(text);
    return hundredths && *hundredths >= 0 && *hundredths <= 10'000 ? hundredths : std::nullopt;
}

Terms readTerms(const QCommandLineParser& parser, const TermsOptions& options)
{
    constexpr qint64 greatestRatio = 1000;
    constexpr qint64 day = 86'400;
    Terms terms;
    const auto ratio = parser.value(options.ratio).split(u':');
    const auto points = wholeNumber(ratio.constFirst(), 1, greatestRatio);
    const auto money = wholeNumber(ratio.constLast(), 1, greatestRatio);
    if (ratio.size() != 2 || !points || !money)
        misused(u"'%1' is not a ratio of whole numbers, such as 10:1."_s.arg(parser.value(options.ratio)));
    terms.tariff.points = *points;
    terms.tariff.money = *money;

    const auto earn = percent(parser.value(options.earn));
    const auto spend = percent(parser.value(options.spend));
    if (!earn || !spend)
        misused(u"A percentage is a number from 0 to 100, such as 5 or 2.50."_s);
    terms.tariff.earnHundredthsOfPercent = *earn;
    terms.tariff.spendHundredthsOfPercent = *spend;

    terms.codes.fixedCode = parser.value(options.code);
    if (parser.isSet(options.code) && terms.codes.fixedCode.isEmpty())
        misused(u"The code is empty."_s);
    const auto lifetime = wholeNumber(parser.value(options.lifetime), 0, day);
    if (!lifetime)
        misused(u"A code lives from 0 to %1 seconds."_s.arg(day));
    terms.codes.lifetimeInSeconds = *lifetime;
    const auto attempts = wholeNumber(parser.value(options.attempts), 1, 100);
    if (!attempts)
        misused(u"A code may be entered from 1 to 100 times."_s);
    terms.codes.attempts = static_cast<int>(*attempts);
    return terms;
}

QList<Fault> readFaults(const QStringList& texts, const QStringList& files)
{
    QList<Fault> faults;
    try {
        for (const auto& text : texts)
            faults.append(faultFrom(text));
    } catch (const FaultError& error) {
        misused(u"--fault: "_s + error.text());
    }
    for (const auto& name : files) {
        try {
            faults += faultsFrom(contentOf(name, u"faults"_s), name);
        } catch (const FaultError& error) {
            throw EarlyEnd{exitFailed, u"stand: "_s + error.text()};
        }
    }
    return faults;
}

} // namespace

QString faultHelp()
{
    return u"Faults: OPERATION:FAULT or OPERATION:FAULT:name=value,name=value; as JSON\n"
           "{\"operation\": \"any\", \"fault\": \"status\", \"code\": 503, \"nth\": 2}. They are also set by "
           "POST,\n"
           "listed by GET and taken back by DELETE of /stand/faults.\n"
           "  nth=1            the first call that is struck\n"
           "  every=1          from then on, every so many-th\n"
           "  count=1          so many calls are struck; all: for ever\n"
           "  when=...         before the operation is done, which it then never is (but for late), or "
           "after\n"
           "Operations: any, a path with stars (\"GET /v2/partner/card/*\"), or one of\n  "_s +
           CallPattern::operations().join(u' ') +
           u"\nFaults, with their settings as they are when not given:\n"_s +
           faultsInWords().trimmed().prepend(u"  "_s);
}

QList<QCommandLineOption> optionKinds() { return optionsOf({}, {}); }

Options readOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"A stand-in for the loyalty service: JSON over HTTP under /v2/, with demonstration cards. Runs "
        u"until\n"
        "SIGTERM or SIGINT. Open its address in a browser to see codes, balances, ledger, exchanges and "
        "faults;\n"
        "the same as JSON: GET /stand/cards, /stand/codes, /stand/ledger, /stand/invariants,\n"
        "/stand/exchanges, /stand/faults, /stand/clock. All that can be asked is described at /docs.\n\n"
        "The password is read from the password file, else from the environment variable\n"
        "KYR_STAND_PASSWORD, else it is \"secret-of-the-shop\"."_s);
    const GeneralOptions general;
    const TermsOptions termsOptions;
    parser.addOptions(optionsOf(general, termsOptions));

    if (!parser.parse(arguments))
        misused(parser.errorText());
    if (parser.isSet(general.help))
        throw EarlyEnd{0, parser.helpText() + u'\n' + faultHelp()};
    if (parser.isSet(general.version))
        throw EarlyEnd{0, versionText()};
    if (!parser.positionalArguments().isEmpty())
        misused(u"Unexpected argument '%1'."_s.arg(parser.positionalArguments().constFirst()));

    Options options;
    if (!options.address.setAddress(parser.value(general.address)))
        misused(u"'%1' is not an IP address."_s.arg(parser.value(general.address)));
    bool isPort = false;
    options.port = parser.value(general.port).toUShort(&isPort);
    if (!isPort)
        misused(u"'%1' is not a port number (0 to 65535)."_s.arg(parser.value(general.port)));
    options.hostNames = parser.values(general.hostName);
    options.dataFile = parser.value(general.data);
    options.faults = readFaults(parser.values(general.fault), parser.values(general.faults));
    options.replayFile = parser.value(general.replay);
    if (parser.isSet(general.replay))
        options.recording = contentOf(options.replayFile, u"replay"_s);
    options.clock = QDateTime::fromString(parser.value(general.clock), Qt::ISODateWithMs);
    if (parser.isSet(general.clock) && !options.clock.isValid())
        misused(u"'%1' is no time such as 2026-12-01T00:00:00Z."_s.arg(parser.value(general.clock)));
    options.untilEof = parser.isSet(general.untilEof);
    options.credentials.user = parser.value(general.user);
    if (options.credentials.user.contains(u':'))
        misused(u"A user name has no colon in Basic authentication."_s);

    options.terms = readTerms(parser, termsOptions);
    if (parser.isSet(general.password))
        options.credentials.password = passwordFrom(parser.value(general.password));
    else if (auto given = qEnvironmentVariable(passwordVariable); !given.isEmpty())
        options.credentials.password = given;
    return options;
}

} // namespace stand
