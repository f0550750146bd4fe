#include "host/shop/familylock.h"

using namespace Qt::StringLiterals;

namespace shop {

// Not the row: it may lie with the till still, and who only reads receipts may not lock one.
void lockFamily(Connection& database, const QString& family)
{
    database.run(u"SELECT pg_advisory_xact_lock(hashtextextended('kyr.receipt ' || $1, 0))"_s, {family});
}

} // namespace shop
