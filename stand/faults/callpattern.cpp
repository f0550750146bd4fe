#include "stand/faults/callpattern.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

struct Name
{
    const char* name;
    const char* method; ///< Empty: a receipt without a card comes by two.
    const char* pattern;
};

constexpr std::array names = {
    Name{"card-info", "GET", "/v2/partner/card/*/card-info"},
    Name{"user-account", "GET", "/v2/partner/user-account/card/*"},
    Name{"user-info-by-card", "GET", "/v2/partner/operation/user/card/*/user-info"},
    Name{"user-info-by-phone", "GET", "/v2/partner/operation/user/phone/*/user-info"},
    Name{"pre-payment", "POST", "/v2/partner/operation/pre-payment"},
    Name{"force-payment-c2b", "POST", "/v2/partner/operation/force-payment-c2b"},
    Name{"payment-c2b", "POST", "/v2/partner/operation/payment-c2b"},
    Name{"confirm-payment-c2b", "POST", "/v2/partner/operation/confirm-payment-c2b"},
    Name{"payment-b2c", "POST", "/v2/partner/operation/payment-b2c"},
    Name{"refuse-payment", "POST", "/v2/partner/operation/refuse-payment"},
    Name{"cancel-payment", "POST", "/v2/partner/operation/cancel-payment"},
    Name{"receipt", "", "/v2/partner/operation/receipt"},
};

/// What a path is like that the pattern means, in which a star stands for any characters.
QRegularExpression like(QString pattern)
{
    pattern = QRegularExpression::escape(pattern).replace(u"\\*"_s, u".*"_s);
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

} // namespace

std::optional<CallPattern> CallPattern::fromText(const QString& text)
{
    CallPattern where;
    where.m_text = text;
    if (text == u"any"_s)
        return where;
    const auto* const name = std::find_if(names.begin(), names.end(), [&text](const Name& candidate) {
        return text == QLatin1StringView(candidate.name);
    });
    if (name != names.end()) {
        where.m_method = name->method;
        where.m_path = like(QString::fromLatin1(name->pattern));
        return where;
    }
    static const QRegularExpression form(u"^(?:([A-Z]+) )?(/\\S*)$"_s);
    const auto match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    where.m_method = match.captured(1).toLatin1();
    where.m_path = like(match.captured(2));
    return where;
}

QStringList CallPattern::operations()
{
    QStringList list;
    for (const auto& name : names)
        list.append(QString::fromLatin1(name.name));
    return list;
}

bool CallPattern::matches(const QByteArray& method, const QByteArray& path) const
{
    return (m_method.isEmpty() || m_method == method) && m_path.match(QString::fromUtf8(path)).hasMatch();
}

} // namespace stand
