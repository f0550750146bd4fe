#include "stand/faults/jsonfields.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

void collect(const QJsonValue& value, const QString& path, QStringList& fields)
{
    const auto visit = [&](const QString& name, const QJsonValue& inner) {
        const auto field = path.isEmpty() ? name : path + u'.' + name;
        fields.append(field);
        collect(inner, field, fields);
    };
    const auto object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member)
        visit(member.key(), member.value());
    const auto list = value.toArray();
    for (qsizetype i = 0; i < list.size(); ++i)
        visit(QString::number(i), list.at(i));
}

QString writtenOut(const QJsonValue& value)
{
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    return value.toVariant().toString();
}

/// What a mistaken service could have meant: a number as a text, a text as a number.
QJsonValue converted(const QJsonValue& value, const QString& type)
{
    if (type == u"number"_s)
        return value.toVariant().toDouble();
    if (type == u"text"_s)
        return writtenOut(value);
    if (type == u"bool"_s)
        return true;
    if (type == u"list"_s)
        return QJsonArray{value};
    if (type == u"object"_s)
        return QJsonObject{{u"value"_s, value}};
    if (type == u"null"_s)
        return QJsonValue::Null;
    if (type == u"missing"_s)
        return QJsonValue::Undefined;
    return converted(value, value.isString()  ? u"number"_s
                            : value.isArray() ? u"object"_s
                            : value.isNull()  ? u"list"_s
                                              : u"text"_s);
}

QJsonValue changed(const QJsonValue& value, const QStringList& path, const QString& type)
{
    if (path.isEmpty())
        return converted(value, type);
    const auto& step = path.constFirst();
    const auto rest = path.sliced(1);
    if (value.isObject()) {
        auto object = value.toObject();
        for (const auto& key : object.keys()) {
            if (step == u"*"_s || step == key)
                object.insert(key, changed(object.value(key), rest, type)); // an undefined value removes it
        }
        return object;
    }
    if (!value.isArray())
        return value;
    const auto list = value.toArray();
    QJsonArray result;
    for (qsizetype i = 0; i < list.size(); ++i) {
        const bool isMeant = step == u"*"_s || step == QString::number(i);
        const auto element = isMeant ? changed(list.at(i), rest, type) : list.at(i);
        if (!element.isUndefined())
            result.append(element);
    }
    return result;
}

} // namespace

QStringList fieldsOf(const QJsonValue& value)
{
    QStringList fields;
    collect(value, {}, fields);
    return fields;
}

QJsonValue withType(const QJsonValue& value, const QString& field, const QString& type)
{
    return changed(value, field.split(u'.'), type);
}

} // namespace stand
