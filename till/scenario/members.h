#pragma once

#include "till/scenario/json.h"

#include <QList>
#include <QString>
#include <QVariantMap>

namespace till {

/// What a member of an object is called and may hold.
struct Member
{
    enum class Type { Text, Number, Integer, Flag, List };
    enum class Need { Required, Optional };

    QString name;
    Type type = Type::Text;
    Need need = Need::Required;
    QString about;            ///< English, for help
    QList<Member> entry = {}; ///< of a list: the members of each of its objects
};

/// The members of the object as plain values: text, double, int, bool, list of maps; absent optional ones are
/// left out. `owner` names the object in messages ("openSale"). Each unknown, missing or mistyped member is
/// added to the problems.
QVariantMap readMembers(const JsonNode& object, const QList<Member>& members, const QString& owner,
                        Problems& problems);

/// "a whole number" and so on.
QString typeText(Member::Type type);

} // namespace till
