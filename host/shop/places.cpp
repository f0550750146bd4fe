#include "host/shop/places.h"

using namespace Qt::StringLiterals;

namespace shop {

QVariant placeOf(Connection& database, const QString& identifier)
{
    return database.run(u"SELECT month FROM places WHERE identifier = $1"_s, {identifier})
        .rows.value(0)
        .value(0);
}

} // namespace shop
