#include "till/setup/reloading.h"

#include "host/utils/logging.h"

#include <exception>

using namespace Qt::StringLiterals;

namespace till {

void reloadSettings(const Options& given, const std::function<void(const Options&, const Config&)>& take)
{
    const utils::LogReceipt none({}); // whichever is open meanwhile
    Options options = given;
    try {
        const Config config = settingsOf(options);
        take(options, config);
    } catch (const std::exception& failure) { // ConfigError, UsageError: the text says where and what
        utils::logger(u"till"_s)->error(u"The new settings are not taken, the former stay: "_s +
                                        QString::fromUtf8(failure.what()));
        return;
    }
    utils::logger(u"till"_s)->info(u"The settings were read anew%1"_s.arg(
        options.configFile.isEmpty() ? QString() : u" from "_s + options.configFile));
    warnOfExposure(options);
}

} // namespace till
