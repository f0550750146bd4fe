#include "till/setup/settings.h"

#include "host/utils/logging.h"
#include "till/cli/usageerror.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>
#include <QUrl>

#include <limits>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString serverUrlKey = u"KYRLoyalty:serverUrl"_s;
const QString userKey = u"KYRLoyalty:user"_s;
const QString ratioKey = u"KYRLoyalty:bonusRatio"_s;
const QString passwordKey = u"KYRLoyalty:password"_s;
const QString passwordFileKey = u"Till:passwordFile"_s;
const QString dataDirectoryKey = u"Till:dataDirectory"_s;
const QString logFileKey = u"Till:logFile"_s;
const QString logLevelKey = u"Till:logLevel"_s;
const QString alarmKey = u"Till:alarmAfterMinutes"_s;
const QString scanPrefixKey = u"Till:scanPrefix"_s;
const QString scanSuffixKey = u"Till:scanSuffix"_s;
const QString cardPrefixesKey = u"Till:cardPrefixes"_s;
const QString languageKey = u"Till:language"_s;
const QString weightPrefixesKey = u"Till:weightPrefixes"_s;
const QString goodsKey = u"Till:goods"_s;
constexpr int usualAlarm = 60;

QList<ConfigKey> knownKeys()
{
    using enum ConfigKey::Type;
    return {
        {serverUrlKey, Text, u"the service's base URL, such as \"https://loyalty.example.com/\""_s},
        {userKey, Text, u"the shop's user name at the service"_s},
        {passwordKey, Text, u"the shop's password at the service"_s},
        {u"KYRLoyalty:currencyName"_s, Text, u"the currency code on receipts, such as \"BON\""_s},
        {ratioKey, Text, u"points to money, such as \"10:1\""_s},
        {u"KYRLoyalty:timeout"_s, Integer, u"seconds to wait for an answer, such as 10"_s},
        {u"KYRLoyalty:smsVerification"_s, Boolean, u"true: spending points must be confirmed by SMS"_s},
        {u"Till:shopCode"_s, Text, u"the shop's code at the service, such as \"1\""_s},
        {passwordFileKey, Text, u"a file with the password, such as \"/etc/kyr-loyalty/password\""_s},
        {dataDirectoryKey, Text, u"a folder, such as \"/var/lib/kyr-loyalty\""_s},
        {logFileKey, Text, u"a file, such as \"/var/log/kyr-loyalty.log\""_s},
        {logLevelKey, Text, u"\"debug\", \"info\", \"warning\" or \"error\""_s},
        {languageKey, Text, u"the language of the cashier's texts, such as \"en\""_s},
        {scanPrefixKey, Text, u"what the scanner sends before each code, such as \"~\""_s},
        {scanSuffixKey, Text, u"what the scanner sends behind each code, such as \"#\""_s},
        {cardPrefixesKey, Text, u"how the numbers of cards begin, such as \"2000, 2100\""_s},
        {weightPrefixesKey, Text, u"how the barcodes of scales begin, such as \"22, 23\""_s},
        {goodsKey, Text, u"a file with what is sold, such as \"goods.csv\""_s},
        {alarmKey, Integer, u"minutes that a message may wait before there is an alarm, such as 60"_s},
    };
}

/// What the configuration calls a file lies beside the configuration.
QString besideConfiguration(const Options& options, const QString& name)
{
    return name.isEmpty() ? QString() : QFileInfo(options.configFile).dir().absoluteFilePath(name);
}

/// systemd's credentials are guarded by their folder; their own mode may tell of an access list.
bool isCredential(const QString& fileName)
{
    const QString folder = qEnvironmentVariable("CREDENTIALS_DIRECTORY");
    return !folder.isEmpty() && QFileInfo(fileName).absolutePath() == QDir::cleanPath(folder);
}

QString passwordIn(const QString& fileName)
{
    const auto complain = [&fileName](const QString& what) {
        return UsageError(u"%1: the password file %2"_s.arg(fileName, what));
    };
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw complain(u"cannot be read: "_s + file.errorString());
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    if ((file.permissions() & others).toInt() != 0 && !isCredential(fileName))
        throw complain(u"may be read by others than its owner; mend it with: chmod 600 "_s + fileName);
    constexpr qint64 longest = 1024;
    const QByteArray line = file.readLine(longest + 2);
    QString password = QString::fromUtf8(line.endsWith('\n') ? line.chopped(1) : line);
    if (password.isEmpty() || line.size() > longest)
        throw complain(u"must hold the password in its first line"_s);
    return password;
}

/// Whoever may write the configuration says where the password goes.
void requireUnwritable(const QString& fileName)
{
    const auto others = QFile::WriteGroup | QFile::WriteOther;
    if (!fileName.isEmpty() && (QFile::permissions(fileName) & others).toInt() != 0)
        throw UsageError(u"%1: may be written by others than its owner, who could have the password sent "
                         "elsewhere; mend it with: chmod go-w %1"_s.arg(fileName));
}

/// The environment's word, then that of the file which one of the two names; nothing: as configured.
void takePassword(Config& config, const Options& options)
{
    const QString said = qEnvironmentVariable("KYR_LOYALTY_PASSWORD");
    const QString saidFile = qEnvironmentVariable("KYR_LOYALTY_PASSWORD_FILE");
    const QString file =
        saidFile.isEmpty() ? besideConfiguration(options, config.getString(passwordFileKey, {})) : saidFile;
    if (!said.isEmpty())
        config.set(passwordKey, said);
    else if (saidFile.isEmpty() && !file.isEmpty() && !config.getString(passwordKey, {}).isEmpty())
        throw UsageError(u"%1: %2 and %3 both say the password; keep one"_s.arg(
            options.configFile, passwordKey, passwordFileKey));
    else if (!file.isEmpty())
        config.set(passwordKey, passwordIn(file));
}

/// The plug-in puts each path behind the address as it stands; behind a "?" or "#" it would be no path any
/// more.
void checkServerUrl(const Config& config, const Options& options)
{
    const QString url = config.getString(serverUrlKey, {});
    if (!url.contains(u'?') && !url.contains(u'#'))
        return;
    const QString where =
        options.serverUrl.isEmpty() ? options.configFile + u": "_s + serverUrlKey : u"--server-url"_s;
    throw UsageError(u"%1: a '?' or '#' in the service's address would send every request elsewhere; take it "
                     "and what follows it away"_s.arg(where));
}

/// With the port that it goes to, and without "." and ".." on the way there.
QUrl comparable(const QUrl& given)
{
    QUrl url = given.adjusted(QUrl::NormalizePathSegments);
    url.setPort(url.port(url.scheme() == u"https"_s ? 443 : 80));
    return url;
}

std::optional<LogLevel> configuredLevel(const Config& config)
{
    const QString name = config.getString(logLevelKey, {});
    if (name.isEmpty())
        return std::nullopt;
    const auto level = levelNamed(name);
    if (!level)
        throw UsageError(u"%1: expected debug, info, warning or error"_s.arg(logLevelKey));
    return level;
}

/// What stands between commas.
QStringList listOf(const QString& text)
{
    QStringList list;
    for (const QString& entry : text.split(u',', Qt::SkipEmptyParts))
        list.append(entry.trimmed());
    list.removeAll(QString());
    return list;
}

const QString unset = u"(default)"_s;

QString valueText(const Config& config, const ConfigKey& key)
{
    if (key.type == ConfigKey::Type::Text)
        return config.getString(key.name, unset);
    if (key.type == ConfigKey::Type::Integer) {
        constexpr int never = std::numeric_limits<int>::min();
        const int value = config.getInt(key.name, never);
        return value == never ? unset : QString::number(value);
    }
    const bool value = config.getBool(key.name, false);
    const bool isSet = config.getBool(key.name, true) == value;
    return !isSet ? unset : value ? u"true"_s : u"false"_s;
}

/// Points to the unit of money, as the plug-in reads them; nothing when the setting is no ratio.
std::optional<double> anyRatioOf(const Config& config)
{
    const QStringList parts = config.getString(ratioKey, u"1:1"_s).split(u':');
    bool pointsAreNumber = false;
    bool moneyIsNumber = false;
    const double points = parts.first().toDouble(&pointsAreNumber);
    const double money = parts.last().toDouble(&moneyIsNumber);
    return parts.size() == 2 && pointsAreNumber && moneyIsNumber ? std::optional(points / money)
                                                                 : std::nullopt;
}

} // namespace

Config settingsOf(Options& options)
{
    Config config = loadSettings(options.configFile);
    if (!options.serverUrl.isEmpty())
        setServerUrl(config, options.serverUrl);
    checkServerUrl(config, options);
    takePassword(config, options);
    if (!config.getString(passwordKey, {}).isEmpty())
        requireUnwritable(options.configFile);
    if (options.dataDirectory.isEmpty())
        options.dataDirectory = besideConfiguration(options, config.getString(dataDirectoryKey, {}));
    if (options.logFile.isEmpty())
        options.logFile = besideConfiguration(options, config.getString(logFileKey, {}));
    if (!options.logLevel)
        options.logLevel = configuredLevel(config);
    if (!options.language.isEmpty())
        config.set(languageKey, options.language);
    static_cast<void>(alarmMinutes(config));
    return config;
}

QString exposureOf(const Options& options)
{
    const auto others = QFile::ReadGroup | QFile::ReadOther;
    if (!QFileInfo(options.configFile).isFile() ||
        (QFile::permissions(options.configFile) & others).toInt() == 0 ||
        loadSettings(options.configFile).getString(passwordKey, {}).isEmpty())
        return {};
    return u"%1: holds the password, and others than its owner may read it"_s.arg(options.configFile);
}

void warnOfExposure(const Options& options)
{
    const QString exposure = exposureOf(options);
    if (!exposure.isEmpty())
        utils::logger(u"till"_s)->warn(u"%1; mend it with: chmod 600 %2"_s.arg(exposure, options.configFile));
}

QString configurationText(const Config& config)
{
    QString text;
    for (const ConfigKey& key : knownKeys()) {
        const QString value = valueText(config, key);
        if (key.name == passwordKey)
            text += key.name + (value == unset ? u" is not set"_s : u" is set"_s);
        else if (key.name == serverUrlKey && value != unset)
            text += key.name + u" = "_s + QUrl(value).toString(QUrl::RemoveUserInfo);
        else
            text += key.name + u" = "_s + value;
        text += u'\n';
    }
    return text;
}

int alarmMinutes(const Config& config)
{
    const int minutes = config.getInt(alarmKey, usualAlarm);
    if (minutes < 1)
        throw UsageError(u"%1: expected minutes above 0, such as 60"_s.arg(alarmKey));
    return minutes;
}

QString languageOf(const Config& config) { return config.getString(languageKey, {}); }

ScanSettings scanSettingsOf(const Config& config)
{
    const QStringList cards = listOf(config.getString(cardPrefixesKey, u"2000"_s));
    const QStringList scales = listOf(config.getString(weightPrefixesKey, {}));
    for (const QString& prefix : scales) {
        static const QRegularExpression twoDigits(u"^[0-9]{2}$"_s);
        if (!twoDigits.match(prefix).hasMatch())
            throw UsageError(
                u"%1: expected two digits each, with commas between them, such as \"22, 23\""_s.arg(
                    weightPrefixesKey));
        if (cards.contains(prefix))
            throw UsageError(u"%1: %2 is also how cards begin; take it away here or in %3"_s.arg(
                weightPrefixesKey, prefix, cardPrefixesKey));
    }
    return {.prefix = config.getString(scanPrefixKey, {}),
            .suffix = config.getString(scanSuffixKey, {}),
            .cardPrefixes = cards,
            .weightPrefixes = scales};
}

QString goodsFileOf(const Config& config, const Options& options)
{
    return besideConfiguration(options, config.getString(goodsKey, {}));
}

Config loadSettings(const QString& fileName)
{
    Config config;
    config.declare(knownKeys());
    if (!fileName.isEmpty())
        config.load(fileName);
    return config;
}

bool namesService(const Config& config) { return !config.getString(serverUrlKey, {}).isEmpty(); }

QString serverUrlOf(const Config& config)
{
    const QString url = config.getString(serverUrlKey, {});
    return url.isEmpty() || url.endsWith(u'/') ? url : url + u'/';
}

int timeoutOf(const Config& config)
{
    constexpr int usual = 10;
    return std::max(1, config.getInt(u"KYRLoyalty:timeout"_s, usual));
}

QString authorizationOf(const Config& config)
{
    const QString credentials = config.getString(userKey, {}) + u':' + config.getString(passwordKey, {});
    return u"Basic "_s + QString::fromLatin1(credentials.toUtf8().toBase64());
}

std::function<QString(const QUrl&)> currentAuthorization(const Config& config)
{
    const QUrl service = comparable(QUrl(serverUrlOf(config)));
    if (service.host().isEmpty() || config.getString(userKey, {}).isEmpty())
        return {};
    return [service, header = authorizationOf(config)](const QUrl& given) {
        const QUrl url = comparable(given);
        const bool same = url.scheme() == service.scheme() && url.host() == service.host() &&
                          url.port() == service.port() && url.path().startsWith(service.path());
        return same ? header : QString();
    };
}

void setServerUrl(Config& config, const QString& url) { config.set(serverUrlKey, url); }

std::optional<Ratio> ratioOf(const Config& config)
{
    const QStringList parts = config.getString(ratioKey, u"1:1"_s).split(u':');
    bool pointsAreWhole = false;
    bool moneyIsWhole = false;
    const Ratio ratio{.points = parts.first().toInt(&pointsAreWhole),
                      .money = parts.last().toInt(&moneyIsWhole)};
    const bool usable =
        parts.size() == 2 && pointsAreWhole && moneyIsWhole && ratio.points > 0 && ratio.money > 0;
    return usable ? std::optional(ratio) : std::nullopt;
}

double worthOf(const Config& config, double points)
{
    const auto ratio = anyRatioOf(config);
    return ratio ? points / *ratio : std::numeric_limits<double>::quiet_NaN();
}

double pointsFor(const Config& config, double money) { return money / worthOf(config, 1); }

QString standRatio(const Config& config)
{
    if (const auto ratio = ratioOf(config))
        return u"%1:%2"_s.arg(ratio->points).arg(ratio->money);
    if (anyRatioOf(config))
        throw UsageError(u"%1: the stand knows ratios of whole numbers from 1 only, such as \"10:1\"; for "
                         "another, name a service with --server-url"_s.arg(ratioKey));
    return {};
}

void setCredentials(Config& config, const QString& user, const QString& password)
{
    config.set(userKey, user);
    config.set(passwordKey, password);
}

} // namespace till
