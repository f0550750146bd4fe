#include "tests/soak/books.h"

#include <QHash>
#include <QSet>

using namespace Qt::StringLiterals;

namespace soaktest {

namespace {

/// Receipt R-7 and its returns V-7a and V-7b are one group, 7.
QString groupOf(const QString& identifier)
{
    QString group;
    for (const QChar character : identifier) {
        if (character.isDigit())
            group += character;
    }
    return group;
}

class Lines
{
public:
    void add(const QString& group, const QString& what)
    {
        QString& line = m_lines[group];
        line += line.isEmpty() ? what : u" | "_s + what;
    }
    [[nodiscard]] QStringList all(const QString& heading) const
    {
        QStringList lines;
        for (auto line = m_lines.begin(); line != m_lines.end(); ++line)
            lines.append(heading + line.key() + u": "_s + line.value());
        return lines;
    }

private:
    QMap<QString, QString> m_lines;
};

QStringList operationLines(const QJsonArray& operations)
{
    Lines lines;
    QHash<qint64, QString> receipts;
    for (const auto& entry : operations) {
        const QJsonObject operation = entry.toObject();
        const qint64 root = operation.value(u"root"_s).toInteger();
        QString receipt = operation.value(u"check_identifier"_s).toString();
        const QString told = receipt.isEmpty() ? u"-"_s : receipt;
        if (receipt.isEmpty())
            receipt = receipts.value(root); // a cancellation says only what it cancels
        receipts.insert(operation.value(u"n"_s).toInteger(), receipt);
        lines.add(groupOf(receipt),
                  u"%1 %2 of %3 by %4"_s.arg(operation.value(u"operation"_s).toString(),
                                             QString::number(operation.value(u"points"_s).toDouble(), 'f', 2),
                                             told, operation.value(u"card"_s).toString()));
    }
    return lines.all(u"receipt "_s);
}

QStringList anonymousLines(const QJsonArray& receipts)
{
    Lines lines;
    for (const auto& entry : receipts) {
        const QJsonObject report = entry.toObject();
        const QString number = report.value(u"receipt_number"_s).toString();
        const double amount = report.value(u"receipt"_s).toObject().value(u"receipt_amount"_s).toDouble();
        lines.add(groupOf(number), u"%1 %2 over %3"_s.arg(report.value(u"method"_s).toString(), number,
                                                          QString::number(amount, 'f', 2)));
    }
    return lines.all(u"without a card "_s);
}

QStringList balanceLines(const QJsonArray& accounts)
{
    QStringList lines;
    for (const auto& entry : accounts) {
        const QJsonObject account = entry.toObject();
        lines.append(u"balance of %1 %2: %3"_s.arg(
            account.value(u"kind"_s).toString(), account.value(u"card"_s).toString(),
            QString::number(account.value(u"balance"_s).toDouble(), 'f', 2)));
    }
    return lines;
}

} // namespace

QStringList booksOf(const Service& service)
{
    const QJsonObject ledger = service.page("ledger");
    QStringList lines = operationLines(ledger.value(u"operations"_s).toArray()) +
                        anonymousLines(ledger.value(u"anonymous"_s).toArray()) +
                        balanceLines(ledger.value(u"accounts"_s).toArray());
    const QJsonArray violations = service.page("invariants").value(u"violations"_s).toArray();
    for (const auto& violation : violations)
        lines.append(violation.toString());
    return lines;
}

int operationsIn(const Service& service)
{
    const QJsonObject ledger = service.page("ledger");
    return static_cast<int>(ledger.value(u"operations"_s).toArray().size() +
                            ledger.value(u"anonymous"_s).toArray().size());
}

int needlessRepeats(const Service& service)
{
    constexpr int ok = 200;
    QSet<QString> answered;
    int repeats = 0;
    const QJsonArray exchanges = service.exchanges();
    for (const auto& entry : exchanges) {
        const QJsonObject exchange = entry.toObject();
        const QString method = exchange.value(u"method"_s).toString();
        if (method == u"GET" || exchange.value(u"path"_s).toString().endsWith(u"/pre-payment"))
            continue;
        const QString request =
            method + exchange.value(u"path"_s).toString() + exchange.value(u"request_body"_s).toString();
        repeats += answered.contains(request) ? 1 : 0;
        if (exchange.value(u"status"_s).toInt() == ok && !exchange.contains(u"fault"_s))
            answered.insert(request);
    }
    return repeats;
}

} // namespace soaktest
