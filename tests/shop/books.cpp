#include "tests/shop/books.h"

#include "tests/shop/plan.h"

#include <QJsonArray>
#include <QMap>

using namespace Qt::StringLiterals;

namespace shopday {

namespace {

QString points(const QJsonValue& value) { return QString::number(value.toDouble(), 'f', 2); }

} // namespace

QStringList booksOf(const tilltest::ShopWorld& world)
{
    const QJsonObject ledger = world.page("ledger");
    QMap<QString, QString> receipts;
    QHash<qint64, QString> receiptOf;
    for (const auto& operation : ledger[u"operations"].toArray()) {
        QString receipt = operation[u"check_identifier"].toString();
        if (receipt.isEmpty()) // a cancellation says only what it cancels
            receipt = receiptOf.value(operation[u"root"].toInteger());
        receiptOf.insert(operation[u"n"].toInteger(), receipt);
        receipts[withoutRivals(receipt)] += u" | %1 %2 by %3"_s.arg(
            operation[u"operation"].toString(), points(operation[u"points"]), operation[u"card"].toString());
    }
    for (const auto& report : ledger[u"anonymous"].toArray())
        receipts[withoutRivals(report[u"receipt_number"].toString())] += u" | %1 over %2"_s.arg(
            report[u"method"].toString(), points(report[u"receipt"][u"receipt_amount"]));
    QStringList lines;
    for (const auto& [receipt, operations] : receipts.asKeyValueRange())
        lines.append(receipt + operations);
    for (const auto& account : ledger[u"accounts"].toArray())
        lines.append(u"account %1 %2: %3"_s.arg(account[u"kind"].toString(), account[u"card"].toString(),
                                                points(account[u"balance"])));
    const QJsonObject invariants = world.page("invariants");
    lines.append(invariants[u"ok"].toBool() ? u"the books are right"_s : u"the books are wrong"_s);
    for (const auto& violation : invariants[u"violations"].toArray())
        lines.append(violation.toString());
    return lines;
}

} // namespace shopday
