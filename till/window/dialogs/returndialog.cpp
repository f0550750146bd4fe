#include "till/window/dialogs/returndialog.h"

#include "host/utils/basicexception.h"
#include "host/utils/printable.h"
#include "host/utils/quantity.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/returnparts.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"
#include "till/window/keypad.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

enum Column { Name, Sold, Left, Now };
constexpr int shownSales = 200;
constexpr int sumPlaces = 12;
constexpr QChar figureSpace(0x2007); // as wide as a digit, so that the sums align

QString saleLine(const AbstractDocument& sale)
{
    const QString id = sale.getIdentifier();
    const QDateTime time = QDateTime::fromString(u"20"_s + id, u"yyyyMMdd-hhmmss"_s);
    const QString when = time.isValid() ? u"\n"_s + time.toString(u"dd.MM.yyyy, HH:mm"_s) : QString();
    return id + u"  "_s + money(sale.getSum()).rightJustified(sumPlaces, figureSpace) + when;
}

/// Of a quantity that can't come back, all of it: taking it says why.
double leftOf(const GoodsItem& item, const ReturnedPart& before)
{
    const auto sold = utils::toThousandths(item.getBquant());
    return sold ? utils::inUnits(std::max(*sold - before.thousandths, std::int64_t(0))) : item.getBquant();
}

QList<double> leftOf(const QString& sale, const QList<QSharedPointer<GoodsItem>>& items)
{
    const auto returns = hostObject<DocumentsDao>().returnsOf(sale);
    QList<double> left;
    for (const auto& item : items)
        left.append(leftOf(*item, returnedBefore(item->getPosnum(), returns)));
    return left;
}

QList<ClosedSale> olderSale(const QString& number)
{
    try {
        const auto sale = hostObject<DocumentsDao>().loadDocument(number, false);
        if (sale && sale->getDocumentType() == SaleReceipt)
            return {{number, sale}};
    } catch (const BasicException&) {
        return {{number, nullptr}}; // it is there, but damaged
    }
    return {};
}

} // namespace

QString pointsPreview(const AbstractDocument& sale, const AbstractDocument& giveBack)
{
    if (!sale.getCardRecord(KyrLoyaltySystem))
        return tr::shown(u"windowReturnNoCard"_s, u"К возврату %1. Карты в чеке не было: баллы не меняются"_s)
            .arg(money(giveBack.getSum()));
    const double restored = static_cast<double>(bonusDiscountOf(giveBack).value_or(0)) / 100;
    const double earned =
        pointsFor(hostObject<Config>(), sale.getCardRecord(KyrLoyaltySystem)->getPointsForEarn().toDouble());
    const double whole = sale.getSum();
    const double withdrawn = whole > 0 ? earned * giveBack.getSum() / whole : 0;
    return tr::shown(u"windowReturnPreview"_s,
                     u"К возврату %1. Вернётся скидка баллами: %2. Снимется начисленных баллов: около %3"_s)
        .arg(money(giveBack.getSum()), money(restored), screen::amount(withdrawn));
}

ReturnDialog::ReturnDialog(CheckoutModel& model, QWidget* parent)
    : Question(tr::shown(u"windowReturnTitle"_s, u"Возврат: выберите чек и товары"_s), parent)
    , m_model(model)
    , m_number(new QLineEdit)
    , m_list(new QListWidget)
    , m_table(new QTableWidget)
    , m_preview(label({}))
    , m_less(button(tr::shown(u"windowLess"_s, u"Меньше"_s), u"−"_s))
    , m_more(button(tr::shown(u"windowMore"_s, u"Больше"_s), u"+"_s))
    , m_all(button(tr::shown(u"windowReturnAll"_s, u"Вернуть всё"_s), u"F4"_s))
    , m_open(button(tr::shown(u"windowOpenReturn"_s, u"Открыть возврат"_s), u"F9"_s, u"primary"_s))
{
    setObjectName(u"return"_s);
    setWindowTitle(tr::shown(u"windowReturn"_s, u"Возврат"_s));
    setFixedSize(parent ? parent->size() - QSize(40, 40) : QSize(984, 728));
    auto* middle = new QHBoxLayout;
    middle->setSpacing(12);
    m_list->setAccessibleName(tr::shown(u"windowClosedReceipts"_s, u"Закрытые чеки"_s));
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_number->setPlaceholderText(tr::shown(u"windowReceiptNumberHint"_s, u"Номер чека F2"_s));
    m_number->setAccessibleName(tr::shown(u"windowReceiptNumber"_s, u"Номер чека"_s));
    m_number->setObjectName(u"number"_s);
    limitLength(*m_number, 60, [this](const QString& text) { refuse(text); });
    auto* receipts = new QVBoxLayout;
    receipts->setSpacing(8);
    receipts->addWidget(m_number);
    receipts->addWidget(m_list, 1);
    middle->addLayout(receipts, 2);
    showGoods(*m_table,
              {tr::shown(u"windowColumnGoods"_s, u"Товар"_s), tr::shown(u"windowColumnSold"_s, u"Продано"_s),
               tr::shown(u"windowColumnLeft"_s, u"Осталось"_s),
               tr::shown(u"windowGiveBack"_s, u"Вернуть"_s)});
    m_table->setAccessibleName(tr::shown(u"windowReceiptGoods"_s, u"Товары чека"_s));
    auto* goods = new QVBoxLayout;
    goods->setSpacing(8);
    goods->addWidget(m_table, 1);
    auto* changes = new QHBoxLayout;
    changes->setSpacing(8);
    for (QPushButton* change : {m_less, m_more, m_all})
        changes->addWidget(change, 1);
    goods->addLayout(changes);
    middle->addLayout(goods, 3);
    column().addLayout(middle, 1);
    m_preview->setWordWrap(true);
    m_preview->setMinimumHeight(scaled(46));
    column().addWidget(m_preview);
    auto* buttons = new QHBoxLayout;
    auto* close = button(tr::shown(u"windowClose"_s, u"Закрыть"_s), u"Esc"_s, u"second"_s);
    buttons->addWidget(close);
    buttons->addWidget(m_open, 1);
    column().addLayout(buttons);

    for (QWidget* view : QList<QWidget*>{m_list, m_table})
        view->installEventFilter(this);
    bind(this, Qt::Key_F4, m_all);
    bind(this, Qt::Key_F9, m_open);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_open, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_less, &QPushButton::clicked, this, [this] { change(-1); });
    connect(m_more, &QPushButton::clicked, this, [this] { change(1); });
    connect(m_all, &QPushButton::clicked, this, [this] { takeAll(); });
    connect(m_list, &QListWidget::currentRowChanged, this, [this] { showSale(); });
    connect(m_number, &QLineEdit::textChanged, this, [this] { fillSales(); });
    connect(new QShortcut(Qt::Key_F2, this), &QShortcut::activated, m_number,
            qOverload<>(&QLineEdit::setFocus));
    new PopupKeypad(*m_number, u'-', *m_table);
    readSales();
    fillSales();
    m_list->setFocus();
}

// No shortcuts: in the number of a receipt they are what they are.
bool ReturnDialog::eventFilter(QObject* watched, QEvent* event)
{
    const int key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event)->key() : 0;
    if (key != Qt::Key_Minus && key != Qt::Key_Plus)
        return Question::eventFilter(watched, event);
    (key == Qt::Key_Minus ? m_less : m_more)->click();
    return true;
}

void ReturnDialog::readSales()
{
    try {
        m_newest = hostObject<DocumentsDao>().newestSales(shownSales);
    } catch (const BasicException& failure) {
        m_failure = failure.tr().shown();
    }
}

/// Those whose number has what was typed; an older one by its whole number.
void ReturnDialog::fillSales()
{
    const QString number = m_number->text().trimmed();
    m_sales.clear();
    for (const ClosedSale& sale : m_newest) {
        if (sale.identifier.contains(number, Qt::CaseInsensitive))
            m_sales.append(sale);
    }
    if (m_sales.isEmpty() && !number.isEmpty())
        m_sales = olderSale(number);
    const QSignalBlocker quiet(m_list);
    m_list->clear();
    for (const ClosedSale& sale : m_sales)
        m_list->addItem(utils::printableLines(
            sale.document ? saleLine(*sale.document)
                          : sale.identifier + tr::shown(u"windowRowSaleDamaged"_s, u"\nповреждён"_s)));
    m_list->setEnabled(!m_sales.isEmpty());
    if (m_sales.isEmpty()) {
        m_list->addItem(!m_failure.isEmpty() ? tr::shown(u"windowReceiptsUnread"_s, u"Чеки не прочитаны"_s)
                        : !hostObject<DocumentsDao>().seesAll()
                            ? tr::shown(u"windowShopAway"_s, u"База магазина недоступна"_s)
                        : m_newest.isEmpty() ? tr::shown(u"windowNoClosedReceipts"_s, u"Закрытых чеков нет"_s)
                                             : tr::shown(u"windowNoSuchReceipt"_s, u"Такого чека нет"_s));
        m_table->setRowCount(0);
        preview();
    } else {
        m_list->setCurrentRow(0);
        showSale();
    }
}

QString ReturnDialog::sale() const { return m_sales.value(m_list->currentRow()).identifier; }

void ReturnDialog::showSale()
{
    const auto chosen = m_sales.value(m_list->currentRow()).document;
    auto items = chosen ? chosen->getGoodsItems() : QList<QSharedPointer<GoodsItem>>();
    m_failure.clear();
    if (!chosen && !sale().isEmpty())
        m_failure = tr::shown(u"windowSaleDamaged"_s,
                              u"Чек %1 повреждён: вернуть по нему нельзя. Сообщите администратору"_s)
                        .arg(sale());
    try {
        m_left = leftOf(sale(), items);
    } catch (const BasicException& failure) {
        m_failure = failure.tr().shown();
    }
    if (!m_failure.isEmpty())
        items.clear(); // how much is left of them is not known, so none may come back
    m_quantity = QList<double>(items.size(), 0.0);
    m_table->setRowCount(static_cast<int>(items.size()));
    int row = 0;
    for (const auto& item : items) {
        auto* name = new QTableWidgetItem(
            utils::printable(u"%1. %2"_s.arg(QString::number(item->getPosnum()), item->getName(false))));
        name->setData(Qt::UserRole, item->getPosnum());
        m_table->setItem(row, Name, name);
        for (const int column : {Sold, Left, Now}) {
            auto* cell = new QTableWidgetItem(column == Sold ? screen::quantity(item->getBquant()) : u""_s);
            cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            m_table->setItem(row, column, cell);
        }
        ++row;
    }
    m_table->setCurrentCell(0, Name);
    preview();
}

void ReturnDialog::change(double by)
{
    const int row = m_table->currentRow();
    if (row < 0)
        return;
    m_quantity[row] = std::clamp(m_quantity[row] + by, 0.0, m_left[row]);
    preview();
}

void ReturnDialog::takeAll()
{
    m_quantity = m_left;
    preview();
}

QList<ReturnLine> ReturnDialog::lines() const
{
    QList<ReturnLine> lines;
    for (int row = 0; row < m_table->rowCount(); ++row) {
        if (m_quantity[row] > 0)
            lines.append({.posnum = m_table->item(row, Name)->data(Qt::UserRole).toInt(),
                          .quantity = m_quantity[row]});
    }
    return lines;
}

void ReturnDialog::preview()
{
    for (int row = 0; row < m_table->rowCount(); ++row) {
        m_table->item(row, Left)->setText(screen::quantity(m_left[row] - m_quantity[row]));
        m_table->item(row, Now)->setText(m_quantity[row] > 0 ? screen::quantity(m_quantity[row]) : u"—"_s);
    }
    const auto chosen = m_sales.value(m_list->currentRow()).document;
    const QList<ReturnLine> wanted = lines();
    for (QPushButton* change : {m_less, m_more, m_all})
        change->setEnabled(m_table->rowCount() > 0);
    m_open->setEnabled(!wanted.isEmpty());
    if (!m_failure.isEmpty())
        return m_preview->setText(m_failure);
    if (!chosen || wanted.isEmpty())
        return m_preview->setText(
            chosen ? tr::shown(u"windowMarkGoods"_s, u"Отметьте, что возвращает покупатель"_s)
            : m_newest.isEmpty()
                ? tr::shown(u"windowReturnNothing"_s, u"Возвращать нечего: ни один чек ещё не оплачен"_s)
                : tr::shown(u"windowNoReceiptOfNumber"_s, u"Чека с таким номером нет"_s));
    const Draft draft = m_model.checkout().returnOf(sale() + u"-B"_s, sale(), wanted);
    m_preview->setText(draft.ok ? pointsPreview(*chosen, *draft.receipt) : draft.error);
    m_open->setEnabled(draft.ok);
}

} // namespace till::window
