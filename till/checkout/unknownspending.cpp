#include "till/checkout/unknownspending.h"

#include <QVariantMap>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString ownName = u"Till"_s;
const QString mark = u"unknownSpending"_s;

/// A path of the service's that spends points, by its end.
struct SpendingPath
{
    QLatin1StringView end;
    /// Whether a repeat that the service refuses was judged as the spending of this receipt. The service
    /// looks for a spending under the receipt's number before anything else, and gives its first answer
    /// again. A confirmation is judged by its code first: a wrong one says nothing of what went before.
    bool refusalSettlesARepeat = false;
};

constexpr std::array spendingPaths{
    SpendingPath{QLatin1StringView("/force-payment-c2b"), true},
    SpendingPath{QLatin1StringView("/confirm-payment-c2b"), false},
};

const SpendingPath* spendingPath(const QUrl& url)
{
    const QString path = url.path();
    const auto matches = [&path](const SpendingPath& known) { return path.endsWith(known.end); };
    const auto* found = std::find_if(spendingPaths.begin(), spendingPaths.end(), matches);
    return found == spendingPaths.end() ? nullptr : found;
}

bool isOneOf(int code, std::initializer_list<int> codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

bool neverSent(int code)
{
    using enum RestClient::ErrorCode;
    return isOneOf(code, {static_cast<int>(Tls), static_cast<int>(BadUrl), static_cast<int>(BadHeader)});
}

} // namespace

std::optional<UnknownSpending> unknownSpendingOf(const AbstractDocument& receipt)
{
    const QVariantMap kept = receipt.getPluginData(ownName, mark, {}).toMap();
    if (kept.isEmpty())
        return std::nullopt;
    return UnknownSpending{.points = kept.value(u"points"_s).toDouble(),
                           .wanted = kept.value(u"wanted"_s).toDouble(),
                           .since = kept.value(u"since"_s).toDateTime()};
}

void setUnknownSpending(AbstractDocument& receipt, const std::optional<UnknownSpending>& spending)
{
    receipt.setPluginData(ownName, mark,
                          spending ? QVariant(QVariantMap{{u"points"_s, spending->points},
                                                          {u"wanted"_s, spending->wanted},
                                                          {u"since"_s, spending->since}})
                                   : QVariant());
}

bool movesPoints(const QUrl& url) { return spendingPath(url) != nullptr; }

bool provesNothingSpent(const RestExchange& exchange, bool askedAgain)
{
    const int code = exchange.errorCode;
    const SpendingPath* path = spendingPath(exchange.url);
    if (!path)
        return false;
    // Refusals of the caller, or by somebody in between, say nothing of an earlier request.
    if (askedAgain)
        return path->refusalSettlesARepeat && isOneOf(code, {400, 409, 422});
    return neverSent(code) || (code >= 400 && code < 500 && !isOneOf(code, {408, 425}));
}

} // namespace till
