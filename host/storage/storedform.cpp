#include "host/storage/storedform.h"

#include <QCryptographicHash>
#include <QIODevice>
#include <QtEndian>

#include <utility>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr qsizetype factsSize = 16;
constexpr qsizetype headSize = factsSize + 32;

QByteArray checksum(const QByteArray& facts, QByteArrayView content)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(facts);
    hash.addData(content);
    return hash.result();
}

bool isContainer(int type)
{
    return type == QMetaType::QVariantMap || type == QMetaType::QVariantHash ||
           type == QMetaType::QVariantList || type == QMetaType::QVariantPair;
}

bool isTextList(int type) { return type == QMetaType::QStringList || type == QMetaType::QByteArrayList; }

/// Numbers, text, dates, bytes and the like. Of others a stream believes whatever they claim: curves and bit
/// arrays with gigabytes in them, or less than nothing.
bool isPlain(int type)
{
    switch (type) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QChar:
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
    case QMetaType::QUrl:
    case QMetaType::QUuid:
        return true;
    default:
        return isTextList(type);
    }
}

QVariantList contentOf(const QVariant& container)
{
    switch (container.typeId()) {
    case QMetaType::QVariantMap:
        return container.toMap().values();
    case QMetaType::QVariantHash:
        return container.toHash().values();
    case QMetaType::QVariantPair: {
        const auto pair = container.value<std::pair<QVariant, QVariant>>();
        return {pair.first, pair.second};
    }
    default:
        return container.toList();
    }
}

tr::Tr unstorable(const QVariant& value, int levels)
{
    if (!isContainer(value.typeId()))
        return isPlain(value.typeId()) ? tr::Tr()
                                       : tr::Tr(u"hostUnfitType"_s, u"значение типа %1"_s)
                                             .arg(QString::fromLatin1(value.typeName()));
    if (levels == 0)
        return tr::Tr(u"hostUnfitDepth"_s, u"вложенность больше %1"_s).arg(QString::number(deepestStored));
    for (const QVariant& inner : contentOf(value)) {
        if (tr::Tr why = unstorable(inner, levels - 1); !why.isEmpty())
            return why;
    }
    return {};
}

QVariant readValue(QDataStream& in, int levels);

template <class Map>
Map readMap(QDataStream& in, int levels)
{
    Map map;
    quint32 left = 0;
    for (in >> left; left > 0 && in.status() == QDataStream::Ok; --left) {
        QString key;
        in >> key;
        map.insert(key, readValue(in, levels));
    }
    return map;
}

QVariantList readList(QDataStream& in, int levels)
{
    QVariantList list;
    quint32 left = 0;
    for (in >> left; left > 0 && in.status() == QDataStream::Ok; --left)
        list.append(readValue(in, levels));
    return list;
}

QVariant readContainer(QDataStream& in, int type, int levels)
{
    switch (type) {
    case QMetaType::QVariantMap:
        return readMap<QVariantMap>(in, levels);
    case QMetaType::QVariantHash:
        return readMap<QVariantHash>(in, levels);
    case QMetaType::QVariantPair: {
        const QVariant first = readValue(in, levels);
        return QVariant::fromValue(std::pair(first, readValue(in, levels)));
    }
    case QMetaType::QStringList:
        return storedList<QString>(in);
    case QMetaType::QByteArrayList:
        return QVariant::fromValue(storedList<QByteArray>(in));
    default:
        return readList(in, levels);
    }
}

/// QDataStream would follow the containers however deep they are; so only the plain values are left to it.
QVariant readValue(QDataStream& in, int levels)
{
    constexpr int size = 5; // the type's number, and whether the value is null
    const QByteArray head = in.device()->peek(size);
    const int type = head.size() < size ? QMetaType::UnknownType : qFromBigEndian<qint32>(head.constData());
    QVariant value;
    if (isTextList(type) || (isContainer(type) && levels > 0)) {
        in.skipRawData(size);
        value = readContainer(in, type, levels - 1);
        return head.back() == '\0' ? value : QVariant(QMetaType(type));
    }
    if (isPlain(type))
        in >> value;
    else
        in.setStatus(QDataStream::ReadCorruptData);
    return value;
}

} // namespace

tr::Tr unstorable(const QVariant& value) { return unstorable(value, deepestStored); }

QVariant storedValue(QDataStream& in) { return readValue(in, deepestStored); }

QVariantMap storedMap(QDataStream& in) { return readMap<QVariantMap>(in, deepestStored - 1); }

QByteArray sealed(const Seal& seal, const QByteArray& content)
{
    QByteArray facts(factsSize, Qt::Uninitialized);
    qToBigEndian(seal.magic, facts.data());
    qToBigEndian(seal.version, facts.data() + 4);
    qToBigEndian(static_cast<quint64>(content.size()), facts.data() + 8);
    return facts + checksum(facts, content) + content;
}

Unsealed unsealed(const Seal& seal, const QByteArray& bytes)
{
    if (bytes.size() < headSize)
        return {Unsealed::Damaged, {}};
    const QByteArray facts = bytes.first(factsSize);
    const QByteArray content = bytes.sliced(headSize);
    const auto version = qFromBigEndian<quint32>(facts.constData() + 4);
    if (qFromBigEndian<quint32>(facts.constData()) != seal.magic ||
        qFromBigEndian<quint64>(facts.constData() + 8) != static_cast<quint64>(content.size()) ||
        bytes.sliced(factsSize, headSize - factsSize) != checksum(facts, content))
        return {Unsealed::Damaged, {}};
    if (version > seal.version)
        return {Unsealed::Newer, {}};
    return {Unsealed::Whole, content};
}

} // namespace storage
