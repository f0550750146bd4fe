#include "till/options.h"

#include "till/usageerror.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString besideProgram(const QString& path)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u'/' + path);
}

QString helpText(const QCommandLineParser& parser)
{
    return parser.helpText().trimmed() + uR"(

Scenario files are JSON:
  { "name": "A known customer",
    "config": { "KYRLoyalty:timeout": 3 },
    "steps": [
      { "do": "openSale", "id": "R-1", "positions": [] },
      { "do": "identifyByCard", "card": "2000000000017", "mayFail": true } ] }
All steps are played, whatever fails. "config" goes over --server-url, and that over the
configuration file. The shell's "help" lists the steps and their members. The clock of a scenario
starts at the real time and goes ten minutes with each receipt.

At the end of each file the books of its own stand are compared with the till's receipts, and a
table tells what was spent, earned (in points), queued and delivered.

Exit status: 0 all went well; 1 a step failed that was not marked "mayFail", or the stand's books
differ from the receipts; 2 wrong usage, or a file, the plug-in or the stand cannot be used. The
shell's is 0 or 2.)"_s;
}

QString versionText()
{
    return u"%1 %2\nQt %3, built with %4"_s.arg(
        QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
        QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR));
}

Options::Command commandOf(const QStringList& positional)
{
    if (positional.isEmpty())
        throw UsageError(u"till: a command is missing: run or shell; see till --help"_s);
    const QString& name = positional.first();
    if (name == u"run"_s) {
        if (positional.size() < 2)
            throw UsageError(u"till: run: which scenario? see till --help"_s);
        return Options::Command::Run;
    }
    if (name != u"shell"_s)
        throw UsageError(u"till: unknown command '%1': expected run or shell; see till --help"_s.arg(name));
    if (positional.size() > 1)
        throw UsageError(u"till: shell: unexpected '%1'; see till --help"_s.arg(positional[1]));
    return Options::Command::Shell;
}

QString checkedUrl(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    const bool http = url.scheme() == u"http"_s || url.scheme() == u"https"_s;
    if (!url.isValid() || !http || url.host().isEmpty())
        throw UsageError(
            u"till: --server-url: expected an address such as https://loyalty.example.com/; see till --help"_s);
    return text;
}

} // namespace

std::variant<Options, Text> readOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"A till without a screen: loads the loyalty plug-in and plays receipts "
                                     u"with it. Where nobody names a\n"
                                     "loyalty service, it starts the stand for the time of each scenario."_s);
    parser.addPositionalArgument(u"run FILE..."_s, u"Play scenario files, one after the other."_s);
    parser.addPositionalArgument(u"shell"_s, u"Play the steps typed on the standard input."_s, u"| shell"_s);
    const QCommandLineOption config(u"config"_s, u"Configuration, in TOML."_s, u"FILE"_s);
    const QCommandLineOption serverUrl(u"server-url"_s,
                                       u"The loyalty service, instead of KYRLoyalty:serverUrl."_s, u"URL"_s);
    const QCommandLineOption plugin(u"plugin"_s, u"The plug-in, instead of ../lib/libKYRLoyalty.so."_s,
                                    u"FILE"_s, besideProgram(u"../lib/libKYRLoyalty.so"_s));
    const QCommandLineOption stand(u"stand"_s, u"The stand, instead of the one beside this program."_s,
                                   u"FILE"_s, besideProgram(u"stand"_s));
    const QCommandLineOption data(u"data-dir"_s,
                                  u"Keep receipts, queue and the stand's books here, instead of in a folder "
                                  u"of the moment."_s,
                                  u"DIR"_s);
    const QCommandLineOption json(
        u"json"_s, u"Print one line of JSON for each step, one for each file's summary, and nothing else."_s);
    const QCommandLineOption verbose(
        u"verbose"_s, u"Show debug lines and the exchanges with the service too; with --json on stderr."_s);
    // Not addHelpOption(), which brings a list of Qt's own options as well.
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Show this help."_s);
    const QCommandLineOption version({u"v"_s, u"version"_s}, u"Show the versions of the till and of Qt."_s);
    parser.addOptions({config, serverUrl, plugin, stand, data, json, verbose, help, version});

    if (!parser.parse(arguments))
        throw UsageError(u"till: %1 See till --help."_s.arg(parser.errorText()));
    if (parser.isSet(help))
        return Text{helpText(parser)};
    if (parser.isSet(version))
        return Text{versionText()};

    Options options;
    const QStringList positional = parser.positionalArguments();
    options.command = commandOf(positional);
    options.files = positional.sliced(1);
    options.configFile = parser.value(config);
    if (parser.isSet(serverUrl))
        options.serverUrl = checkedUrl(parser.value(serverUrl));
    options.pluginFile = parser.value(plugin);
    options.standProgram = parser.value(stand);
    options.dataDirectory = parser.value(data);
    if (parser.isSet(data) && options.dataDirectory.isEmpty())
        throw UsageError(u"till: --data-dir: expected a folder; see till --help"_s);
    options.json = parser.isSet(json);
    options.verbose = parser.isSet(verbose);
    return options;
}

} // namespace till
