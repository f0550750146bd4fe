#pragma once

#include "host/utils/config.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace till {

/// The configuration with every key that the till and its plug-in know, and the values of the file (none when
/// the name is empty). Throws ConfigError.
Config loadSettings(const QString& fileName);

/// Whether it says where the service is; else the till needs a stand.
bool namesService(const Config& config);
void setServerUrl(Config& config, const QString& url);
/// How many points are worth how much money.
struct Ratio
{
    std::int64_t points = 1;
    std::int64_t money = 1;
};
/// The configured one; nothing when it is not one of whole numbers, which is all that a stand knows.
std::optional<Ratio> ratioOf(const Config& config);
/// The same as the stand's argument. Empty when the setting is no ratio at all: the plug-in then says so.
/// Throws UsageError for a ratio that only the plug-in knows.
QString standRatio(const Config& config);
/// What the shop presents to the service.
void setCredentials(Config& config, const QString& user, const QString& password);

} // namespace till
