#include "till/cli/options.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace till {

QStringList usualConfigFiles()
{
    const QString service = qEnvironmentVariable("CONFIGURATION_DIRECTORY").section(u':', 0, 0);
    const QString home = qEnvironmentVariable("XDG_CONFIG_HOME");
    return {(service.isEmpty() ? u"/etc/kyr-loyalty"_s : service) + u"/till.toml"_s,
            (QDir::isAbsolutePath(home) ? home : QDir::homePath() + u"/.config"_s) +
                u"/kyr-loyalty/till.toml"_s};
}

const QList<OptionKind>& generalOptions()
{
    static const QList<OptionKind> options{
        {u"config"_s, u"FILE"_s, u"Configuration, in TOML; an empty name is none."_s, {}, u"KYR_CONFIG"_s},
        {u"data-dir"_s, u"DIR"_s, u"Where receipts and queue are kept."_s, {}, u"KYR_DATA_DIR"_s},
        {u"server-url"_s,
         u"URL"_s,
         u"The loyalty service, instead of KYRLoyalty:serverUrl."_s,
         {},
         u"KYR_SERVER_URL"_s},
        {u"plugin"_s, u"FILE"_s, u"The plug-in, instead of ../lib/libKYRLoyalty.so."_s},
        {u"stand"_s, u"FILE"_s, u"The stand, instead of the one beside this program."_s},
        {u"language"_s,
         u"LANGUAGE"_s,
         u"Of the cashier's texts: ru, en, or another that was added."_s,
         {},
         u"KYR_LANGUAGE"_s},
        {u"json"_s, {}, u"Print JSON on the standard output, and nothing else there."_s},
        {u"verbose"_s, {}, u"Show debug lines, and the exchanges of a receipt's steps."_s},
        {u"quiet"_s, {}, u"Of the log, show errors only."_s, u"q"_s},
        {u"log-level"_s,
         u"LEVEL"_s,
         u"Show and write log lines from debug, info, warning or error on."_s,
         {},
         u"KYR_LOG_LEVEL"_s},
        {u"log-file"_s,
         u"FILE"_s,
         u"Write log lines to this file too; it is made for its owner alone."_s,
         {},
         u"KYR_LOG_FILE"_s},
        {u"help"_s, {}, u"Show help, of the command when one is named."_s, u"h"_s},
        {u"version"_s, {}, u"Show the versions of the till and of the libraries it uses."_s, u"v"_s},
    };
    return options;
}

const QList<Variable>& furtherVariables()
{
    static const QList<Variable> variables{
        {u"KYR_LOYALTY_PASSWORD"_s, u"the password at the service, over every file"_s},
        {u"KYR_LOYALTY_PASSWORD_FILE"_s, u"a file with it, over Till:passwordFile"_s},
        {u"NO_COLOR"_s, u"when it is not empty, no colours on a terminal"_s},
        {u"TERM"_s, u"when it is dumb, the same"_s},
    };
    return variables;
}

LogLevel screenLevel(const Options& options, LogLevel usual)
{
    if (options.verbose)
        return LogLevel::Debug;
    return options.quiet ? LogLevel::Error : options.logLevel.value_or(usual);
}

LogLevel fileLevel(const Options& options) { return options.logLevel.value_or(LogLevel::Info); }

} // namespace till
