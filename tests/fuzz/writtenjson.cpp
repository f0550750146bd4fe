// What the client writes of any values, next to what Qt writes of them.
#include "client/compactjson.h"
#include "tests/fuzz/fuzz.h"

#include <QDataStream>
#include <QJsonDocument>
#include <QVariantMap>

#include <cstring>

namespace {

template <class Value>
Value taken(QByteArray& bytes)
{
    Value value{};
    const qsizetype size = std::min<qsizetype>(bytes.size(), sizeof value);
    std::memcpy(&value, bytes.constData(), static_cast<std::size_t>(size));
    bytes.remove(0, size);
    return value;
}

QString text(QByteArray& bytes)
{
    const QByteArray utf16 = bytes.left(2 * fuzz::choice(bytes, 12));
    bytes.remove(0, utf16.size());
    QString text(utf16.size() / 2, Qt::Uninitialized);
    std::memcpy(text.data(), utf16.constData(), static_cast<std::size_t>(text.size() * 2));
    return text;
}

QVariant value(QByteArray& bytes, int depth)
{
    switch (fuzz::choice(bytes, depth > 0 ? 8 : 6)) {
    case 0:
        return taken<double>(bytes);
    case 1:
        return text(bytes);
    case 2:
        return taken<qint64>(bytes);
    case 3:
        return taken<int>(bytes);
    case 4:
        return fuzz::choice(bytes, 2) == 1;
    case 5:
        return {};
    case 6: {
        QVariantList list;
        for (int left = fuzz::choice(bytes, 5); left > 0; --left)
            list.append(value(bytes, depth - 1));
        return list;
    }
    default: {
        QVariantMap map;
        for (int left = fuzz::choice(bytes, 5); left > 0; --left) {
            const QString key = text(bytes);
            map.insert(key, value(bytes, depth - 1));
        }
        return map;
    }
    }
}

} // namespace

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    QByteArray left = bytes;
    QVariantMap object;
    while (!left.isEmpty() && object.size() < 8) {
        const QString key = text(left);
        object.insert(key, value(left, 4));
    }
    require(json::compact(object) == QJsonDocument::fromVariant(object).toJson(QJsonDocument::Compact),
            "what is written is what Qt writes");
}
