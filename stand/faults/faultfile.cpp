// Faults as a file or a request has them, with the line where one is wrong.

#include "stand/faults/fault.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

qsizetype lineOf(const QByteArray& text, qsizetype offset) { return text.first(offset).count('\n') + 1; }

/// Where the elements of the first list begin; of an object that is no list, its own beginning. The text is
/// valid JSON.
QList<qsizetype> elementsOf(const QByteArray& json)
{
    QList<qsizetype> begins;
    int depth = 0;
    int listDepth = 0;
    bool isText = false;
    bool isAwaited = false; // the beginning of the next element
    for (qsizetype i = 0; i < json.size(); ++i) {
        const auto c = json[i];
        if (isText) {
            i += c == '\\' ? 1 : 0;
            isText = c != '"';
            continue;
        }
        if (QByteArrayView(" \t\r\n").contains(c))
            continue;
        if (isAwaited && depth == listDepth) {
            begins.append(i);
            isAwaited = false;
        }
        isText = c == '"';
        if (c == '[' && listDepth == 0) {
            listDepth = depth + 1;
            isAwaited = true;
        }
        depth += c == '[' || c == '{' ? 1 : 0;
        depth -= c == ']' || c == '}' ? 1 : 0;
        isAwaited = isAwaited || (c == ',' && depth == listDepth && listDepth > 0);
    }
    return begins;
}

Fault faultFromValue(const QJsonValue& value)
{
    if (value.isString())
        return faultFrom(value.toString());
    if (!value.isObject())
        throw FaultError(u"a fault is an object, or a text such as \"any:reset\""_s);
    return faultFrom(value.toObject());
}

} // namespace

QList<Fault> faultsFrom(const QByteArray& json, const QString& fileName)
{
    const auto wrong = [&](qsizetype offset, const QString& reason) {
        const auto place = fileName.isEmpty() ? u"line "_s : fileName + u':';
        return FaultError(u"%1%2: %3"_s.arg(place).arg(lineOf(json, offset)).arg(reason));
    };
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw wrong(qMin(qsizetype(error.offset), json.size()), error.errorString());

    const auto object = document.object();
    const bool isList = document.isArray() || (object.size() == 1 && object.value(u"faults"_s).isArray());
    const auto list = document.isArray() ? document.array()
                      : isList           ? object.value(u"faults"_s).toArray()
                                         : QJsonArray{object};
    const auto begins = isList ? elementsOf(json) : QList<qsizetype>{0};
    QList<Fault> faults;
    for (qsizetype i = 0; i < list.size(); ++i) {
        try {
            faults.append(faultFromValue(list.at(i)));
        } catch (const FaultError& reason) {
            throw wrong(begins.value(i), reason.text());
        }
    }
    return faults;
}

} // namespace stand
