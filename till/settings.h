#pragma once

#include "host/utils/config.h"

#include <QString>

namespace till {

/// The configuration with every key that the till and its plug-in know, and the values of the file (none when
/// the name is empty). Throws ConfigError.
Config loadSettings(const QString& fileName);

/// Whether it says where the service is; else the till needs a stand.
bool namesService(const Config& config);
void setServerUrl(Config& config, const QString& url);
/// What the shop presents to the service.
void setCredentials(Config& config, const QString& user, const QString& password);

} // namespace till
