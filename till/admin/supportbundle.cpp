#include "host/storage/datadirectory.h"
#include "host/utils/masking.h"
#include "host/utils/printable.h"
#include "till/admin/archive.h"
#include "till/admin/commands.h"
#include "till/admin/doctor.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"
#include "till/audit/receiptreport.h"
#include "till/audit/recording.h"
#include "till/setup/versions.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int messagesShown = 1000;
constexpr int receiptsShown = 200;
constexpr qint64 logTail = 1 << 20;

/// A last look at everything that leaves the machine: whatever went through so far, the shop's secrets are
/// not in it.
class Scrubber
{
public:
    explicit Scrubber(const Config& config)
        : m_authorization(authorizationOf(config))
        , m_password(config.getString(u"KYRLoyalty:password"_s, {}))
    {
        const QByteArray json = QJsonDocument(QJsonArray{m_password}).toJson(QJsonDocument::Compact);
        m_passwordInJson = QString::fromUtf8(json.sliced(2, json.size() - 4));
    }

    [[nodiscard]] QString scrubbed(QString text) const
    {
        static const QRegularExpression basic(u"\\bBasic [A-Za-z0-9+/=]+"_s);
        // As a number of JSON: of three digits it tells how an exchange ended, a customer's code has more.
        static const QRegularExpression number(u"(\"(?:code|password|approve_code)\\\\?\":[ \\t]*)\\d{4,}"_s,
                                               QRegularExpression::CaseInsensitiveOption);
        static const QRegularExpression secret(
            u"(\\b(?:code|password|approve_code)\\b\\\\?\"?[ \\t]*[:=][ \\t]*\\\\?\"?)"
            u"(?!(?<=:|: )(?:\\d{1,3}|null)\\s*[,}])[^\\s\",}\\\\]+"_s,
            QRegularExpression::CaseInsensitiveOption);
        text.replace(m_authorization, u"***"_s).replace(basic, u"Basic ***"_s);
        if (!m_password.isEmpty())
            text.replace(m_password, u"***"_s).replace(m_passwordInJson, u"***"_s);
        return text.replace(number, u"\\1null"_s).replace(secret, u"\\1***"_s);
    }

private:
    QString m_authorization;
    QString m_password;
    QString m_passwordInJson;
};

/// The plug-in's own lines name card and phone as they were typed, with letters too.
QString maskedLine(const QString& line)
{
    static const QRegularExpression typed(u"(?<=телефона ')[^']+|(?<=, по карте ).+"_s);
    const QRegularExpressionMatch match = typed.match(line);
    if (!match.hasMatch())
        return utils::maskNumbers(line);
    return utils::maskNumbers(line.left(match.capturedStart())) + utils::maskWhole(match.captured()) +
           utils::maskNumbers(line.sliced(match.capturedEnd()));
}

QString logLines(const QString& fileName)
{
    QFile file(fileName);
    if (!fileName.isEmpty() && QFileInfo::exists(fileName) && !QFileInfo(fileName).isFile())
        return fileName + u": is no plain file"_s;
    if (fileName.isEmpty() || !file.open(QIODevice::ReadOnly))
        return fileName.isEmpty() ? u"no log file is configured"_s : fileName + u": "_s + file.errorString();
    if (file.size() > logTail) {
        file.seek(file.size() - logTail);
        file.readLine(); // the rest of a line that was cut
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    std::transform(lines.cbegin(), lines.cend(), lines.begin(), maskedLine);
    return lines.join(u'\n');
}

QString pretty(const QJsonDocument& document) { return QString::fromUtf8(document.toJson()); }

QString findingsText(const Options& options)
{
    QList<Finding> findings = examine(options);
    for (Finding& finding : findings) {
        finding.text = utils::maskNumbers(finding.text);
        finding.remedy = utils::maskNumbers(finding.remedy);
    }
    return pretty(findingsJson(findings));
}

QString queueText()
{
    try {
        const MessageQueue queue;
        return pretty(listingJson(queue, queueListing(queue, messagesShown, false)));
    } catch (const std::exception& failure) {
        return administratorsText(failure);
    }
}

QString receiptsText()
{
    try {
        QJsonArray receipts;
        TillRecords records;
        for (const ReceiptReport& report : ReceiptReports(records).latest(receiptsShown))
            receipts.append(receiptJson(report));
        return pretty(QJsonDocument(QJsonObject{{u"receipts"_s, receipts}}));
    } catch (const std::exception& failure) {
        return administratorsText(failure);
    }
}

/// A line each, in the form of a recording.
QString exchangesText()
{
    try {
        TillRecords records;
        return QString::fromUtf8(exchangesOf(ReceiptReports(records).latest(receiptsShown)));
    } catch (const std::exception& failure) {
        return administratorsText(failure);
    }
}

QList<ArchivedFile> collected(const Options& given)
{
    Options options = given;
    const Config config = readSettings(options).config;
    const Scrubber scrubber(config);
    const auto text = [&scrubber](const QString& name, const QString& content) {
        return ArchivedFile{name, utils::printableLines(scrubber.scrubbed(content)).toUtf8()};
    };
    const auto json = [&scrubber](const QString& name, const QString& content) {
        return ArchivedFile{name, utils::printableJson(scrubber.scrubbed(content).toUtf8()).toUtf8()};
    };
    QList<ArchivedFile> files{
        text(u"versions.txt"_s, versionText() + u'\n'),
        json(u"doctor.json"_s, findingsText(given)),
        text(u"configuration.txt"_s, utils::maskNumbers(configurationText(config))),
        text(u"log.txt"_s, logLines(options.logFile)),
    };
    const QString directory = dataDirectoryOf(options);
    if (keepsAnything(directory)) {
        storage::setDataDirectory(directory);
        files.append(json(u"queue.json"_s, queueText()));
        files.append(json(u"receipts.json"_s, receiptsText()));
        files.append(json(u"exchanges.jsonl"_s, exchangesText()));
        storage::setDataDirectory({});
    }
    return files;
}

int run(const Invocation& invocation)
{
    Console console(invocation.options.json);
    const ScreenLog log(screenLevel(invocation.options, LogLevel::Error));
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss"_s);
    const QString file = invocation.has(u"output"_s) ? invocation.own.value(u"output"_s)
                                                     : u"kyr-loyalty-support-%1.tar.gz"_s.arg(stamp);
    const QList<ArchivedFile> files = collected(invocation.options);
    writeArchive(file, files);
    QStringList names;
    for (const ArchivedFile& one : files)
        names.append(one.name);
    console.line(u"%1 holds %2"_s.arg(file, names.join(u", "_s)));
    console.value(QJsonDocument(QJsonObject{{u"file"_s, QFileInfo(file).absoluteFilePath()},
                                            {u"files"_s, QJsonArray::fromStringList(names)}}));
    return exitWell;
}

} // namespace

Command supportBundleCommand()
{
    return {.name = u"support-bundle"_s,
            .about = u"Put what a supporter needs to know into one archive."_s,
            .details = u"A .tar.gz for its owner alone: versions, the doctor's report, the configuration "
                       u"without the password, the\n"
                       "queue, the receipts' timelines, how their exchanges went, and the end of the log "
                       "file. Card and phone numbers "
                       "are masked, credentials\n"
                       "and codes are left out. A file that is there is not replaced.\n\n"
                       "With --json: {\"file\", \"files\": [names inside]}."_s,
            .options = {{u"output"_s, u"FILE"_s, u"The archive; kyr-loyalty-support-TIME.tar.gz otherwise."_s,
                         u"o"_s}},
            .examples = {{u"till support-bundle -o case-17.tar.gz"_s, u"of the usual data directory"_s}},
            .statuses = {{0, u"the archive was made"_s}, {2, u"it cannot be made"_s}},
            .run = run};
}

} // namespace till
