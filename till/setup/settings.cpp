#include "till/setup/settings.h"

#include "host/utils/logging.h"
#include "till/cli/usageerror.h"
#include "till/setup/serviceurls.h"
#include "till/setup/settingkeys.h"
#include "till/setup/settingsreading.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>

#include <limits>

using namespace Qt::StringLiterals;

namespace till {

namespace {

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
    const QStringList parts = config.getString(keys::ratio, u"1:1"_s).split(u':');
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
    const SettingsReading reading = readSettings(options);
    if (reading.problems.isEmpty())
        return reading.config;
    QStringList lines;
    for (const SettingsProblem& problem : reading.problems)
        lines.append(Fault{problem.placedText(), problem.fault.remedy}.toString());
    throw ConfigError(lines.join(u'\n'));
}

QString exposureOf(const Options& options)
{
    const auto others = QFile::ReadGroup | QFile::ReadOther;
    if (!QFileInfo(options.configFile).isFile() ||
        (QFile::permissions(options.configFile) & others).toInt() == 0 ||
        loadSettings(options.configFile).getString(keys::password, {}).isEmpty())
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
        if (key.name == keys::password)
            text += key.name + (value == unset ? u" is not set"_s : u" is set"_s);
        else if (key.name == keys::serverUrl && value != unset)
            text += key.name + u" = "_s + QUrl(value).toString(QUrl::RemoveUserInfo);
        else
            text += key.name + u" = "_s + value;
        text += u'\n';
    }
    return text;
}

int alarmMinutes(const Config& config)
{
    constexpr int usual = 60;
    return config.getInt(keys::alarm, usual);
}

QString languageOf(const Config& config) { return config.getString(keys::language, {}); }

ScanSettings scanSettingsOf(const Config& config)
{
    if (const auto fault = faultOfWeightPrefixes(config))
        throw UsageError(u"%1: %2"_s.arg(keys::weightPrefixes, fault->toString()));
    return {.prefix = config.getString(keys::scanPrefix, {}),
            .suffix = config.getString(keys::scanSuffix, {}),
            .cardPrefixes = listOf(config.getString(keys::cardPrefixes, u"2000"_s)),
            .weightPrefixes = listOf(config.getString(keys::weightPrefixes, {}))};
}

QString metricsFileOf(const Config& config, const Options& options)
{
    return besideConfiguration(options, config.getString(keys::metricsFile, {}));
}

QString goodsFileOf(const Config& config, const Options& options)
{
    return besideConfiguration(options, config.getString(keys::goods, {}));
}

Config loadSettings(const QString& fileName)
{
    Config config;
    config.declare(knownKeys());
    if (!fileName.isEmpty())
        config.load(fileName);
    return config;
}

bool namesService(const Config& config) { return !config.getString(keys::serverUrl, {}).isEmpty(); }

QString serverUrlOf(const Config& config)
{
    const QString url = config.getString(keys::serverUrl, {});
    return url.isEmpty() || url.endsWith(u'/') ? url : url + u'/';
}

int timeoutOf(const Config& config)
{
    constexpr int usual = 10;
    return std::max(1, config.getInt(keys::timeout, usual));
}

QString authorizationOf(const Config& config)
{
    const QString credentials =
        config.getString(keys::user, {}) + u':' + config.getString(keys::password, {});
    return u"Basic "_s + QString::fromLatin1(credentials.toUtf8().toBase64());
}

std::function<QString(const QUrl&)> currentAuthorization(const Config& config)
{
    const QString service = serverUrlOf(config);
    if (QUrl(service).host().isEmpty() || config.getString(keys::user, {}).isEmpty())
        return {};
    return [service, header = authorizationOf(config)](const QUrl& url) {
        return isBelow(url, service) ? header : QString();
    };
}

void setServerUrl(Config& config, const QString& url) { config.set(keys::serverUrl, url); }

std::optional<Ratio> ratioOf(const Config& config)
{
    const QStringList parts = config.getString(keys::ratio, u"1:1"_s).split(u':');
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
                         "another, name a service with --server-url"_s.arg(keys::ratio));
    return {};
}

void setCredentials(Config& config, const QString& user, const QString& password)
{
    config.set(keys::user, user);
    config.set(keys::password, password);
}

} // namespace till
