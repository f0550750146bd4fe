#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

namespace till {

/// One thing that is wrong with a text, and the line where; English for the administrator.
struct Problem
{
    int line;
    QString text;
};
using Problems = QList<Problem>;

/// A JSON value that knows where it stands, so that a mistake in it can be pointed at.
struct JsonNode
{
    enum class Kind { Null, Boolean, Number, Text, List, Object };

    Kind kind = Kind::Null;
    int line = 1;
    QVariant scalar;                ///< bool, int, double or QString; invalid for the other kinds
    QStringList names = {};         ///< of an object's members, one for each child
    std::vector<JsonNode> children; ///< of a list or an object, as written

    /// The object's member of that name, or null.
    [[nodiscard]] const JsonNode* member(const QString& name) const;
};

/// The tree of a JSON text in UTF-8. When it is none, the first mistake is added to the problems and the
/// result is a null.
JsonNode parseJson(const QByteArray& text, Problems& problems);

} // namespace till
