#include "till/checkout/spendingpaths.h"

#include <algorithm>
#include <array>

namespace till {

namespace {

constexpr std::array paths{
    SpendingPath{QLatin1StringView("/force-payment-c2b"), true},
    SpendingPath{QLatin1StringView("/confirm-payment-c2b"), false},
};

} // namespace

const SpendingPath* spendingPath(const QUrl& url)
{
    const QString path = url.path();
    const auto matches = [&path](const SpendingPath& known) { return path.endsWith(known.end); };
    const auto* found = std::find_if(paths.begin(), paths.end(), matches);
    return found == paths.end() ? nullptr : found;
}

} // namespace till
