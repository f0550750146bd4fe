#include "host/utils/storedform.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <algorithm>

namespace utils {

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

template <class Values>
bool areStorable(const Values& values)
{
    return std::all_of(values.cbegin(), values.cend(), isStorable);
}

} // namespace

bool isStorable(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return true;
    case QMetaType::QVariantMap:
        return areStorable(value.toMap());
    case QMetaType::QVariantHash:
        return areStorable(value.toHash());
    case QMetaType::QVariantList:
        return areStorable(value.toList());
    default:
        return value.typeId() < QMetaType::User && value.metaType().hasRegisteredDataStreamOperators();
    }
}

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
        return {Unsealed::Damaged, 0, {}};
    const QByteArray facts = bytes.first(factsSize);
    const QByteArray content = bytes.sliced(headSize);
    const auto version = qFromBigEndian<quint32>(facts.constData() + 4);
    if (qFromBigEndian<quint32>(facts.constData()) != seal.magic ||
        qFromBigEndian<quint64>(facts.constData() + 8) != static_cast<quint64>(content.size()) ||
        bytes.sliced(factsSize, headSize - factsSize) != checksum(facts, content))
        return {Unsealed::Damaged, 0, {}};
    if (version > seal.version)
        return {Unsealed::Newer, version, {}};
    return {Unsealed::Whole, version, content};
}

} // namespace utils
