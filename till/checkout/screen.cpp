#include "till/checkout/screen.h"

#include "host/utils/masking.h"
#include "host/utils/money.h"
#include "till/cli/texttable.h"

#include <QHash>

#include <algorithm>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace till::screen {

namespace {

QString right(const QString& text, qsizetype columns)
{
    return QString(std::max<qsizetype>(0, columns - textWidth(text)), u' ') + text;
}

QString left(const QString& text, qsizetype columns)
{
    return text + QString(std::max<qsizetype>(0, columns - textWidth(text)), u' ');
}

/// A line of the receipt: what stands left, and the amount at the right edge.
struct Row
{
    QString posnum;
    QString name;
    QString quantity; ///< with its sign, "2 ×"
    QString price;
    QString sum;
};

QString minus(double value) { return u"−"_s + amount(value); }

QString sumText(const AbstractDocument& document)
{
    return document.getDocumentType() == ReturnReceipt ? tr::shown(u"tillToReturn"_s, u"К возврату"_s)
                                                       : tr::shown(u"tillToPay"_s, u"К оплате"_s);
}

QString heading(const AbstractDocument& document)
{
    if (document.getDocumentType() != ReturnReceipt)
        return tr::shown(u"tillReceipt"_s, u"Чек %1"_s).arg(document.getIdentifier());
    return tr::shown(u"tillReturn"_s, u"Возврат %1 по чеку %2"_s)
        .arg(document.getIdentifier(), document.getSaleDocumentId().toString());
}

QList<Row> rows(const AbstractDocument& document)
{
    QList<Row> list;
    double bonusDiscount = 0;
    const auto items = document.getGoodsItems();
    for (const auto& item : items) {
        const double bonus = item->getBonusImpactSum();
        const double discount = item->getDiscountSum() - bonus;
        list.append({QString::number(item->getPosnum()), item->getName(false),
                     quantity(item->getBquant()) + u" ×"_s, amount(item->getPrice()),
                     amount(item->getSumb() + item->getDiscountSum())});
        if (utils::toHundredths(discount) != 0)
            list.append(
                {{}, u"  "_s + tr::shown(u"tillRowDiscount"_s, u"скидка"_s), {}, {}, minus(discount)});
        if (utils::toHundredths(bonus) != 0)
            list.append({{}, u"  "_s + tr::shown(u"tillRowPoints"_s, u"баллами"_s), {}, {}, minus(bonus)});
        bonusDiscount += bonus;
    }
    list.append({{}, tr::shown(u"tillSum"_s, u"Итого"_s), {}, {}, amount(document.getSum() + bonusDiscount)});
    if (utils::toHundredths(bonusDiscount) != 0) {
        list.append(
            {{}, tr::shown(u"tillPointsDiscount"_s, u"Скидка баллами"_s), {}, {}, minus(bonusDiscount)});
        list.append({{}, sumText(document), {}, {}, amount(document.getSum())});
    }
    return list;
}

/// Of numbers whose last digits are equal a few more are shown, never more than half of them; where that does
/// not do, which of the list it is.
QString toldApart(const QString& number, const QString& masked, const QStringList& same)
{
    const auto isAlone = [&](qsizetype digits) {
        const auto endsAlike = [&](const QString& other) { return other.endsWith(number.last(digits)); };
        return std::count_if(same.begin(), same.end(), endsAlike) == 1;
    };
    const bool isPlain = std::all_of(number.begin(), number.end(), [](QChar c) { return c.isDigit(); });
    for (qsizetype digits = 5; isPlain && digits <= number.size() / 2; ++digits) {
        if (isAlone(digits))
            return u"…"_s + number.last(digits);
    }
    return u"%1 (%2)"_s.arg(masked, QString::number(same.indexOf(number) + 1));
}

QString statusText(ECard::Status status)
{
    switch (status) {
    case ECard::RegistrationIncomplete:
        return tr::shown(u"tillCardUnregistered"_s, u"регистрация не завершена"_s);
    case ECard::Active:
        return {};
    case ECard::Blocked:
        return tr::shown(u"tillCardBlocked"_s, u"заблокирована"_s);
    }
    return {};
}

} // namespace

QStringList receipt(const AbstractDocument& document)
{
    const QList<Row> all = rows(document);
    Row widest; // of each column, as blanks
    const auto widen = [](QString& column, const QString& cell) {
        column = QString(std::max(column.size(), textWidth(cell)), u' ');
    };
    for (const Row& row : all) {
        widen(widest.posnum, row.posnum);
        widen(widest.name, row.name);
        widen(widest.quantity, row.quantity);
        widen(widest.price, row.price);
        widen(widest.sum, row.sum);
    }
    QStringList lines{heading(document)};
    for (const Row& row : all) {
        const QStringList cells{right(row.posnum, widest.posnum.size()), left(row.name, widest.name.size()),
                                right(row.quantity, widest.quantity.size()),
                                right(row.price, widest.price.size()), right(row.sum, widest.sum.size())};
        lines.append(u"%1  %2  %3 %4  %5"_s.arg(cells[0], cells[1], cells[2], cells[3], cells[4]));
    }
    return lines;
}

QStringList payment(const Payment& payment)
{
    const Document& receipt = *payment.receipt;
    const QString done = receipt.getDocumentType() == ReturnReceipt
                             ? tr::shown(u"tillReturned"_s, u"возвращено %1"_s)
                             : tr::shown(u"tillPaid"_s, u"оплачено %1"_s);
    QStringList lines{heading(receipt) + u": "_s + done.arg(amount(receipt.getSum()))};
    if (payment.earning == Payment::Earning::Done)
        lines.append((payment.earnedIsRounded
                          ? tr::shown(u"tillEarnedAbout"_s, u"Начислено баллов: около %1"_s)
                          : tr::shown(u"tillEarned"_s, u"Начислено баллов: %1"_s))
                         .arg(amount(payment.earned.value_or(0))));
    else if (payment.earning == Payment::Earning::Queued)
        lines.append(tr::shown(u"tillEarnedLater"_s, u"Баллы будут начислены позже"_s));
    return lines;
}

QString delivered(int messages)
{
    return tr::shown(u"tillDelivered"_s, u"Отправлено сообщений: %1"_s).arg(messages);
}

QString abandoned(const QString& identifier)
{
    return tr::shown(u"tillAbandoned"_s, u"Чек %1 отменён"_s).arg(identifier);
}

QStringList customer(const DocumentCardRecord& record)
{
    QString card =
        tr::shown(u"tillCard"_s, u"Карта %1"_s).arg(utils::maskWhole(record.getNumber().toString()));
    const QString status = statusText(record.getCardStatus());
    if (!status.isEmpty())
        card += u", "_s + status;
    QStringList lines{card};
    const auto client = record.getCard()->getClient();
    if (client && !client->getName().isEmpty())
        lines.append(tr::shown(u"tillCustomer"_s, u"Покупатель: %1"_s).arg(client->getName()));
    if (record.getBonusBalance().isValid())
        lines.append(
            tr::shown(u"tillBalance"_s, u"Баланс: %1"_s).arg(amount(record.getBonusBalance().toDouble())));
    return lines;
}

ChoiceRequest masked(const ChoiceRequest& request)
{
    ChoiceRequest list = request;
    QHash<QString, QStringList> alike;
    for (tr::Tr& item : list.items) {
        const QString text = item.ru();
        item = tr::Tr(item.id(), utils::maskNumbers(text));
        alike[item.ru()].append(text);
    }
    for (qsizetype i = 0; i < list.items.size(); ++i) {
        tr::Tr& item = list.items[i];
        const QStringList& same = alike[item.ru()];
        if (same.size() > 1)
            item = tr::Tr(item.id(), toldApart(request.items[i].ru(), item.ru(), same));
    }
    return list;
}

QString amount(double value)
{
    const auto known = utils::toHundredths(value);
    if (!known)
        return QString::number(value); // no amount that anybody has; nothing is made of it
    const std::int64_t hundredths = *known;
    QString digits = QString::number(hundredths < 0 ? -hundredths : hundredths).rightJustified(3, u'0');
    digits.insert(digits.size() - 2, u',');
    for (qsizetype at = digits.size() - 6; at > 0; at -= 3)
        digits.insert(at, u' ');
    return hundredths < 0 ? u"−"_s + digits : digits;
}

QString quantity(double value)
{
    QString text = QString::number(value, 'f', 3);
    while (text.endsWith(u'0'))
        text.chop(1);
    if (text.endsWith(u'.'))
        text.chop(1);
    return text.replace(u'.', u',');
}

} // namespace till::screen
