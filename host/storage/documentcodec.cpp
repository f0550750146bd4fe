#include "host/storage/documentcodec.h"

#include "host/storage/storageerror.h"
#include "host/storage/storedform.h"
#include "host/utils/tr.h"

#include <QIODevice>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace documentcodec {

namespace {

// "KYRd" and "KYRc".
constexpr storage::Seal documentSeal{0x4B595264, 1};
constexpr storage::Seal recordSeal{0x4B595263, 1};

void requireStorable(const QVariant& value)
{
    if (const tr::Tr why = storage::unstorable(value); !why.isEmpty())
        throw BasicException(
            tr::Tr(u"hostDocumentUnfit"_s, u"Чек не сохранён: такие данные нельзя сохранить (%1)"_s)
                .arg(why));
}

template <class Key, class Value>
QList<Key> sortedKeys(const QHash<Key, Value>& hash)
{
    QList<Key> keys = hash.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

void write(QDataStream& out, const QVariant& value)
{
    requireStorable(value);
    out << value;
}

void write(QDataStream& out, const Client& client)
{
    out << client.getName() << static_cast<qint32>(client.getSex()) << client.getBirthday()
        << client.getAddress() << client.getEmail() << client.getPhoneNumber();
}

void write(QDataStream& out, const DocumentCardRecord& record)
{
    out << static_cast<qint32>(record.getKind());
    write(out, record.getNumber());
    out << static_cast<qint32>(record.getCodeInternal()) << static_cast<qint32>(record.getCardStatus());
    write(out, record.getBonusBalance());
    out << record.getOperationId();
    write(out, record.getPointsForEarn());
    out << record.getPointsForSpend();
    const auto client = record.getCard()->getClient();
    out << !client.isNull();
    if (client)
        write(out, *client);
}

void write(QDataStream& out, const GoodsItem& item)
{
    out << static_cast<qint32>(item.getPosnum()) << item.getArticul() << item.getName(false)
        << item.getPrice() << item.getBquant() << item.getDiscount() << item.getBonusImpactSum()
        << (item.ownGrossSum() ? QVariant(*item.ownGrossSum()) : QVariant());
}

void write(QDataStream& out, const Document& document)
{
    out << static_cast<qint32>(document.getDocumentType()) << document.getIdentifier()
        << document.getReturnIdentifier();
    write(out, document.getSaleDocumentId());

    QList<int> flags = document.flags().values();
    std::sort(flags.begin(), flags.end());
    out << flags;

    const auto items = document.getGoodsItems();
    out << static_cast<quint32>(items.size());
    for (const auto& item : items)
        write(out, *item);

    const auto& records = document.cardRecords();
    out << static_cast<quint32>(records.size());
    for (const int kind : sortedKeys(records))
        write(out, *records.value(kind));

    QVariantMap plugins;
    for (const QString& name : sortedKeys(document.pluginData()))
        plugins.insert(name, document.pluginData().value(name));
    requireStorable(plugins);
    out << plugins;
}

template <class T>
T next(QDataStream& in)
{
    T value{};
    in >> value;
    return value;
}

template <class Enumeration>
Enumeration nextEnumeration(QDataStream& in)
{
    return static_cast<Enumeration>(next<qint32>(in));
}

QSharedPointer<Client> nextClient(QDataStream& in)
{
    auto client = QSharedPointer<Client>::create();
    client->setName(next<QString>(in));
    client->setSex(nextEnumeration<Client::Sex>(in));
    client->setBirthday(next<QDate>(in));
    client->setAddress(next<QString>(in));
    client->setEmail(next<QString>(in));
    client->setPhoneNumber(next<QString>(in));
    return client;
}

QSharedPointer<DocumentCardRecord> nextCardRecord(QDataStream& in)
{
    const auto kind = nextEnumeration<LoyaltySystemType>(in);
    const auto number = storage::storedValue(in);
    auto record = QSharedPointer<DocumentCardRecord>::create(kind, number, next<qint32>(in));
    record->setCardStatus(nextEnumeration<ECard::Status>(in));
    record->setBonusBalance(storage::storedValue(in));
    record->setOperationId(next<QString>(in));
    record->setPointsForEarn(storage::storedValue(in));
    record->setPointsForSpend(next<double>(in));
    if (next<bool>(in))
        record->getCard()->setClient(nextClient(in));
    return record;
}

QSharedPointer<GoodsItem> nextGoodsItem(QDataStream& in)
{
    const auto posnum = next<qint32>(in);
    const auto articul = next<QString>(in);
    const auto name = next<QString>(in);
    const auto price = next<double>(in);
    auto item = QSharedPointer<GoodsItem>::create(posnum, articul, name, price, next<double>(in));
    item->setDiscount(next<double>(in));
    item->setBonusImpactSum(next<double>(in));
    if (const QVariant grossSum = storage::storedValue(in); grossSum.isValid())
        item->setGrossSum(grossSum.toDouble());
    return item;
}

/// Two positions with one number are somebody's damage.
void addTo(Document& document, const QSharedPointer<GoodsItem>& item, QDataStream& in)
{
    if (document.getGoodsItemByPosnum(item->getPosnum()))
        in.setStatus(QDataStream::ReadCorruptData);
    else
        document.addGoodsItem(item);
}

QSharedPointer<Document> nextDocument(QDataStream& in)
{
    const auto type = nextEnumeration<EDocumentType>(in);
    auto document = QSharedPointer<Document>::create(type, next<QString>(in));
    document->setReturnIdentifier(next<QString>(in));
    document->setSaleDocumentId(storage::storedValue(in));
    for (const int flag : storage::storedList<int>(in))
        document->setFlag(flag);
    for (auto left = next<quint32>(in); left > 0 && in.status() == QDataStream::Ok; --left)
        addTo(*document, nextGoodsItem(in), in);
    for (auto left = next<quint32>(in); left > 0 && in.status() == QDataStream::Ok; --left)
        document->setCardRecord(nextCardRecord(in));
    const auto plugins = storage::storedMap(in);
    for (auto plugin = plugins.cbegin(); plugin != plugins.cend(); ++plugin) {
        const QVariantMap values = plugin->toMap();
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            document->setPluginData(plugin.key(), value.key(), value.value());
    }
    return document;
}

template <class T>
QByteArray sealedForm(const storage::Seal& seal, const T& object)
{
    QByteArray content;
    QDataStream out(&content, QIODevice::WriteOnly);
    out.setVersion(storage::storedStreamVersion);
    write(out, object);
    return storage::sealed(seal, content);
}

template <class Read>
auto opened(const storage::Seal& seal, const QByteArray& bytes, const QString& file, Read read)
{
    const storage::Unsealed whole = storage::unsealed(seal, bytes);
    if (whole.state == storage::Unsealed::Newer)
        throw storage::storageError(storage::StorageFault::Newer, file);
    QDataStream in(whole.content);
    in.setVersion(storage::storedStreamVersion);
    if (whole.state == storage::Unsealed::Whole) {
        auto result = read(in);
        if (in.status() == QDataStream::Ok && in.atEnd())
            return result;
    }
    throw storage::storageError(storage::StorageFault::Damaged, file);
}

} // namespace

QByteArray written(const Document& document) { return sealedForm(documentSeal, document); }

QByteArray written(const DocumentCardRecord& record) { return sealedForm(recordSeal, record); }

QSharedPointer<Document> readDocument(const QByteArray& bytes, const QString& file)
{
    return opened(documentSeal, bytes, file, nextDocument);
}

QSharedPointer<DocumentCardRecord> readCardRecord(const QByteArray& bytes, const QString& file)
{
    return opened(recordSeal, bytes, file, nextCardRecord);
}

void setPlaces(const Document& document, int revision)
{
    for (const auto& record : document.cardRecords())
        record->setStoredPlace({document.getIdentifier(), revision});
}

QSharedPointer<Document> assembled(const QByteArray& content, const QList<QVariantList>& cardRecords,
                                   const QString& file)
{
    auto document = readDocument(content, file);
    setPlaces(*document, 0);
    for (const QVariantList& row : cardRecords) {
        const auto record = readCardRecord(row[0].toByteArray(), file);
        record->setStoredPlace({document->getIdentifier(), row[1].toInt()});
        document->setCardRecord(record);
    }
    return document;
}

} // namespace documentcodec
