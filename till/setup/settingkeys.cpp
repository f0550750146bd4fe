#include "till/setup/settingkeys.h"

#include "host/shop/connection.h"
#include "till/cli/logging.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// As the plug-in reads it, but that it takes any number.
bool isUsableRatio(const QString& text)
{
    const QStringList parts = text.split(u':');
    const double points = parts.first().toDouble(); // 0 when it is no number
    const double money = parts.last().toDouble();
    return parts.size() == 2 && points > 0 && money > 0 && std::isnormal(points / money);
}

std::optional<Fault> unless(bool isWell, const QString& expected)
{
    return isWell ? std::nullopt : std::optional(Fault{expected});
}

} // namespace

QList<ConfigKey> knownKeys()
{
    using enum ConfigKey::Type;
    return {
        {keys::serverUrl, Text, u"the service's base URL, such as \"https://loyalty.example.com/\""_s},
        {keys::user, Text, u"the shop's user name at the service"_s},
        {keys::password, Text, u"the shop's password at the service"_s},
        {u"KYRLoyalty:currencyName"_s, Text, u"the currency code on receipts, such as \"BON\""_s},
        {keys::ratio, Text, u"points to money, such as \"10:1\""_s},
        {keys::timeout, Integer, u"seconds to wait for an answer, such as 10"_s},
        {u"KYRLoyalty:smsVerification"_s, Boolean, u"true: spending points must be confirmed by SMS"_s},
        {u"Till:shopCode"_s, Text, u"the shop's code at the service, such as \"1\""_s},
        {keys::passwordFile, Text, u"a file with the password, such as \"/etc/kyr-loyalty/password\""_s},
        {keys::dataDirectory, Text, u"a folder, such as \"/var/lib/kyr-loyalty\""_s},
        {keys::logFile, Text, u"a file, such as \"/var/log/kyr-loyalty.log\""_s},
        {keys::logLevel, Text, u"\"debug\", \"info\", \"warning\" or \"error\""_s},
        {keys::metricsFile, Text, u"a file for a monitor, such as \"/run/kyr-loyalty/till.prom\""_s},
        {keys::language, Text, u"the language of the cashier's texts, such as \"en\""_s},
        {keys::scanPrefix, Text, u"what the scanner sends before each code, such as \"~\""_s},
        {keys::scanSuffix, Text, u"what the scanner sends behind each code, such as \"#\""_s},
        {keys::cardPrefixes, Text, u"how the numbers of cards begin, such as \"2000, 2100\""_s},
        {keys::weightPrefixes, Text, u"how the barcodes of scales begin, such as \"22, 23\""_s},
        {keys::goods, Text, u"a file with what is sold, such as \"goods.csv\""_s},
        {keys::keepDays, Integer, u"days to keep closed receipts, such as 400; 0: for ever"_s},
        {keys::keepJournalDays, Integer, u"days to keep journal and history, such as 90; 0: for ever"_s},
        {keys::shopDatabase, Text,
         u"a database for all tills of the shop, such as \"postgresql://till@db/shop\""_s},
        {keys::shopTill, Text, u"how this till is called in the shop, such as \"7\""_s},
        {keys::alarm, Integer, u"minutes that a message may wait before there is an alarm, such as 60"_s},
    };
}

std::optional<Fault> faultOfValue(const QString& key, const QVariant& value)
{
    const QString text = value.toString();
    if (key == keys::serverUrl)
        return text.isEmpty() ? std::nullopt : faultOfAddress(text); // then the stand is started
    if (key == keys::ratio)
        return unless(isUsableRatio(text), u"expected two numbers above 0 with a colon, such as \"10:1\""_s);
    if (key == keys::timeout)
        return unless(value.toInt() > 0, u"expected seconds above 0, such as 10"_s);
    if (key == keys::alarm)
        return unless(value.toInt() > 0, u"expected minutes above 0, such as 60"_s);
    if (const QString fault =
            key == keys::shopDatabase && !text.isEmpty() ? shop::faultOfDatabaseAddress(text) : QString();
        !fault.isEmpty())
        return Fault{fault};
    if (key == keys::keepDays)
        return unless(value.toInt() >= 0, u"expected days, such as 400, or 0 for ever"_s);
    if (key == keys::keepJournalDays)
        return unless(value.toInt() >= 0, u"expected days, such as 90, or 0 for ever"_s);
    if (key == keys::logLevel)
        return unless(text.isEmpty() || levelNamed(text), u"expected debug, info, warning or error"_s);
    return std::nullopt;
}

std::optional<Fault> faultOfWeightPrefixes(const Config& config)
{
    const QStringList cards = listOf(config.getString(keys::cardPrefixes, u"2000"_s));
    for (const QString& prefix : listOf(config.getString(keys::weightPrefixes, {}))) {
        static const QRegularExpression twoDigits(u"^[0-9]{2}$"_s);
        if (!twoDigits.match(prefix).hasMatch())
            return Fault{u"expected two digits each, with commas between them, such as \"22, 23\""_s};
        if (cards.contains(prefix))
            return Fault{u"%1 is also how cards begin"_s.arg(prefix),
                         u"take it away here or in "_s + keys::cardPrefixes};
    }
    return std::nullopt;
}

QStringList listOf(const QString& text)
{
    QStringList list;
    for (const QString& entry : text.split(u',', Qt::SkipEmptyParts))
        list.append(entry.trimmed());
    list.removeAll(QString());
    return list;
}

} // namespace till
