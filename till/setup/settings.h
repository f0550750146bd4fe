#pragma once

#include "host/utils/config.h"
#include "till/cli/options.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <optional>

namespace till {

/// The configuration with every key that the till and its plug-in know, and the values of the file (none when
/// the name is empty). Throws ConfigError.
Config loadSettings(const QString& fileName);

/// The same for these options, whose words go over the file's: the configuration file, the service's address,
/// and the password from where it is kept. Gives the options what only the file says of the data directory
/// and the log. Throws ConfigError or UsageError.
Config settingsOf(Options& options);

/// That others than its owner may read the password which the configuration file holds, for the
/// administrator; empty: they may not, or it holds none.
QString exposureOf(const Options& options);
/// Says the same in the log.
void warnOfExposure(const Options& options);

/// Every known key with its value, a line for each, for the eyes of a supporter: of the password only whether
/// there is one.
QString configurationText(const Config& config);

/// After how many minutes a message that waits is worth an alarm.
int alarmMinutes(const Config& config);

/// Of the cashier's texts; empty: Russian.
QString languageOf(const Config& config);

/// What the scanner at the till sends.
struct ScanSettings
{
    QString prefix;             ///< before each code; empty: nothing
    QString suffix;             ///< behind each code; empty: nothing but Enter
    QStringList cardPrefixes;   ///< the number of a loyalty card begins with one of these
    QStringList weightPrefixes; ///< a barcode that scales print begins with one of these, two digits each
};
/// Throws UsageError.
ScanSettings scanSettingsOf(const Config& config);

/// The configured file that the delivery service keeps for a monitor; empty: none.
QString metricsFileOf(const Config& config, const Options& options);

/// The configured file with what is sold; empty: none.
QString goodsFileOf(const Config& config, const Options& options);

/// Whether it says where the service is; else the till needs a stand.
bool namesService(const Config& config);
void setServerUrl(Config& config, const QString& url);
/// As the plug-in uses it, with a "/" at its end; empty: not configured.
QString serverUrlOf(const Config& config);
/// Seconds for one exchange with the service.
int timeoutOf(const Config& config);
/// What the configured user and password are in the header of that name.
QString authorizationOf(const Config& config);
/// The same for whoever delivers the queue: for the configured service's own addresses, nothing for others.
std::function<QString(const QUrl&)> currentAuthorization(const Config& config);
/// How many points are worth how much money.
struct Ratio
{
    std::int64_t points = 1;
    std::int64_t money = 1;
};
/// The configured one; nothing when it is not one of whole numbers, which is all that a stand knows.
std::optional<Ratio> ratioOf(const Config& config);
/// What so many points are worth in money by the configured ratio, whole numbers or not; not a number when it
/// is none.
double worthOf(const Config& config, double points);
/// How many points money is, by the same ratio.
double pointsFor(const Config& config, double money);
/// The same as the stand's argument. Empty when the setting is no ratio at all: the plug-in then says so.
/// Throws UsageError for a ratio that only the plug-in knows.
QString standRatio(const Config& config);
/// What the shop presents to the service.
void setCredentials(Config& config, const QString& user, const QString& password);

} // namespace till
