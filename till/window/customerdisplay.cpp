#include "till/window/customerdisplay.h"

#include "host/utils/masking.h"
#include "host/utils/money.h"
#include "host/utils/printable.h"
#include "till/checkout/screen.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr QSize leastSize(800, 480);
enum Column { Name, Sum };
enum Page { Words, Receipt };

/// Lengths of the least size; $ stands before each.
const QString letters = uR"(
* { font-size: $16px; }
QLabel[role="headline"] { font-size: $40px; }
QLabel[role="name"] { font-size: $20px; }
QLabel[role="total"] { font-size: $34px; }
QLabel[role="training"] { font-size: $16px; }
QLabel[role="prompt"] { font-size: $26px; font-weight: bold; padding: $8px; border-radius: $8px; }
QHeaderView::section { font-size: $14px; }
QTableWidget::item { padding: $3px $6px; }
)"_s;

QString grown(QString sheet, int percent)
{
    for (qsizetype at = sheet.indexOf(u'$'); at >= 0; at = sheet.indexOf(u'$', at)) {
        const qsizetype end = sheet.indexOf(u'p', at);
        const int length = QStringView(sheet).sliced(at + 1, end - at - 1).toInt();
        sheet.replace(at, end - at, QString::number(length * percent / 100));
    }
    return sheet;
}

QString nameText(const GoodsItem& item)
{
    QString text = u"%1\n%2 × %3"_s.arg(item.getName(false), screen::quantity(item.getBquant()),
                                        screen::amount(item.getPrice()));
    if (utils::toHundredths(item.getDiscount()) != 0)
        text +=
            u" · "_s +
            tr::shown(u"windowDisplayDiscount"_s, u"скидка −%1"_s).arg(screen::amount(item.getDiscount()));
    return utils::printableLines(text);
}

/// Whether the cell shows another text now.
bool fill(QTableWidget& table, int row, Column column, const QString& text)
{
    if (const auto* shown = table.item(row, column); shown && shown->text() == text)
        return false;
    auto* cell = new QTableWidgetItem(text);
    cell->setTextAlignment((column == Sum ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    table.setItem(row, column, cell);
    return true;
}

} // namespace

CustomerDisplay::CustomerDisplay(const CheckoutModel& model, const Waiting& waiting,
                                 std::chrono::milliseconds thanks)
    : m_model(model)
    , m_waiting(waiting)
    , m_pages(new QStackedWidget)
    , m_headline(label({}, u"headline"_s))
    , m_details(label({}, u"name"_s))
    , m_positions(new QTableWidget)
    , m_name(label({}, u"name"_s))
    , m_card(label({}))
    , m_earning(label({}))
    , m_whole{label(tr::shown(u"windowSum"_s, u"Сумма"_s)), label({})}
    , m_discount{label(tr::shown(u"windowDiscounts"_s, u"Скидки"_s)), label({})}
    , m_points{label(tr::shown(u"windowByPoints"_s, u"Баллами"_s)), label({})}
    , m_total{label({}, u"name"_s), label({}, u"total"_s)}
    , m_prompt(label({}, u"prompt"_s))
{
    setWindowTitle(tr::shown(u"windowDisplayTitle"_s, u"Экран покупателя"_s));
    setObjectName(u"desk"_s);
    setAttribute(Qt::WA_StyledBackground);
    setAttribute(Qt::WA_QuitOnClose, false); // the till ends with the cashier's window, and only with that
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowFlags(Qt::Window | Qt::WindowDoesNotAcceptFocus); // keys are the cashier's
    setMinimumSize(leastSize);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* training = label(tr::shown(u"displayTraining"_s, u"Учебный режим"_s), u"training"_s);
    training->setAlignment(Qt::AlignCenter);
    training->setVisible(model.isTraining());
    layout->addWidget(training);
    auto* body = new QVBoxLayout;
    body->setContentsMargins(12, 12, 12, 12);
    body->setSpacing(8);
    body->addWidget(m_pages, 1);
    m_prompt->setAlignment(Qt::AlignCenter);
    m_prompt->setWordWrap(true);
    body->addWidget(m_prompt);
    layout->addLayout(body, 1);
    m_pages->addWidget(words());
    m_pages->addWidget(sums());

    m_thanks.setSingleShot(true);
    m_thanks.setInterval(thanks);
    connect(&m_thanks, &QTimer::timeout, this, [this] { showWords(); });
    connect(&model, &CheckoutModel::changed, this, [this] { refresh(); });
    connect(&waiting, &Waiting::changed, this, [this] { showPrompt(); });
    refresh();
}

QWidget* CustomerDisplay::words()
{
    auto* page = panel();
    auto* layout = new QVBoxLayout(page);
    layout->addStretch();
    for (Label* line : {m_headline, m_details}) {
        line->setAlignment(Qt::AlignCenter);
        line->setWordWrap(true);
        layout->addWidget(line);
    }
    layout->addStretch();
    return page;
}

QWidget* CustomerDisplay::sums()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    showGoods(*m_positions, {tr::shown(u"windowGoods"_s, u"Товар"_s), tr::shown(u"windowSum"_s, u"Сумма"_s)});
    m_positions->setFocusPolicy(Qt::NoFocus);
    m_positions->setSelectionMode(QAbstractItemView::NoSelection);
    m_positions->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(m_positions, 1);
    auto* foot = panel();
    auto* columns = new QHBoxLayout(foot);
    auto* customer = new QVBoxLayout;
    for (Label* line : {m_name, m_card, m_earning}) {
        line->setWordWrap(true);
        customer->addWidget(line);
    }
    customer->addStretch();
    columns->addLayout(customer, 1);
    auto* grid = new QGridLayout;
    int at = 0;
    for (const Row& row : {m_whole, m_discount, m_points, m_total}) {
        row.amount->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(row.name, at, 0);
        grid->addWidget(row.amount, at, 1);
        ++at;
    }
    columns->addLayout(grid, 1);
    layout->addWidget(foot);
    return page;
}

void CustomerDisplay::showBeside(QWidget& cashiers)
{
    const auto again = [this, &cashiers] { place(cashiers); };
    connect(qGuiApp, &QGuiApplication::screenAdded, this, again, Qt::QueuedConnection);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, again, Qt::QueuedConnection);
    place(cashiers);
}

void CustomerDisplay::place(QWidget& cashiers)
{
    const auto screens = QGuiApplication::screens();
    const auto other = std::find_if(screens.begin(), screens.end(),
                                    [&](const QScreen* one) { return one != cashiers.screen(); });
    if (other == screens.end()) {
        resize(leastSize);
        showNormal();
    } else {
        setGeometry((*other)->geometry());
        showFullScreen();
    }
    cashiers.activateWindow(); // some give a new window the keys though it wants none
}

void CustomerDisplay::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    const int percent = std::min(100 * width() / leastSize.width(), 100 * height() / leastSize.height());
    if (std::exchange(m_percent, percent) != percent)
        setStyleSheet(grown(letters, percent));
}

void CustomerDisplay::refresh()
{
    const auto receipt = m_model.receipt();
    const bool isBegun = receipt && (!receipt->getGoodsItems().isEmpty() || m_model.checkout().card());
    m_pages->setCurrentIndex(isBegun ? Receipt : Words);
    if (isBegun)
        showReceipt(*receipt);
    else
        m_positions->setRowCount(0);
    if (m_model.paid())
        m_thanks.start();
    else
        m_thanks.stop();
    showWords();
    showPrompt();
}

void CustomerDisplay::showReceipt(const Document& receipt)
{
    showPositions(receipt);
    showCustomer();
    const double bonus = m_model.spentPoints();
    const double discount = receipt.getDiscountSum() - bonus;
    m_whole.amount->setText(money(receipt.getSum() + bonus + discount));
    for (const auto& [row, sum] : {std::pair(m_discount, discount), std::pair(m_points, bonus)}) {
        const bool isSome = utils::toHundredths(sum) != 0;
        row.amount->setText(u"−"_s + money(sum));
        row.amount->setVisible(isSome);
        row.name->setVisible(isSome);
    }
    m_total.amount->setText(money(receipt.getSum()));
    m_total.name->setText(m_model.isReturn() ? tr::shown(u"windowToReturn"_s, u"К возврату"_s)
                                             : tr::shown(u"windowToPay"_s, u"К оплате"_s));
}

void CustomerDisplay::showPositions(const Document& receipt)
{
    const auto items = receipt.getGoodsItems();
    m_positions->setRowCount(static_cast<int>(items.size()));
    int changed = -1;
    fillAtOnce(*m_positions, [&] {
        int row = 0;
        for (const auto& item : items) {
            const bool isOther = fill(*m_positions, row, Name, nameText(*item));
            if (fill(*m_positions, row, Sum, screen::amount(item->getGrossSum())) || isOther)
                changed = row;
            ++row;
        }
    });
    if (changed < 0)
        return;
    const auto show = [this, changed] { m_positions->scrollToItem(m_positions->item(changed, Name)); };
    QMetaObject::invokeMethod(m_positions, show, Qt::QueuedConnection); // once the rows have their heights
}

void CustomerDisplay::showCustomer()
{
    const auto card = m_model.checkout().card();
    const auto client = card ? card->getCard()->getClient() : nullptr;
    m_name->setText(client ? shortened(client->getName(), 100) : QString());
    m_card->setText(
        card ? tr::shown(u"tillCard"_s, u"Карта %1"_s).arg(utils::maskWhole(card->getNumber().toString()))
             : QString());
    const QVariant earned = card ? card->getPointsForEarn() : QVariant();
    const bool willEarn = earned.isValid() && !m_model.isReturn();
    m_earning->setText(willEarn ? tr::shown(u"windowDisplayWillEarn"_s, u"Будет начислено баллов: %1"_s)
                                      .arg(screen::amount(earned.toDouble()))
                                : QString());
    for (Label* line : {m_name, m_card, m_earning})
        line->setHidden(line->text().isEmpty());
}

void CustomerDisplay::showWords()
{
    const auto& paid = m_model.paid();
    if (!paid || !m_thanks.isActive()) {
        m_headline->setText(tr::shown(u"windowDisplayGreeting"_s, u"Добро пожаловать!"_s));
        m_details->setText({});
        return;
    }
    const bool wasReturn = paid->receipt->getDocumentType() == ReturnReceipt;
    m_headline->setText(wasReturn ? tr::shown(u"windowDisplayReturned"_s, u"Возврат оформлен"_s)
                                  : tr::shown(u"windowDisplayThanks"_s, u"Спасибо за покупку!"_s));
    const QString sum = wasReturn ? tr::shown(u"windowDisplaySumReturned"_s, u"Возвращено %1"_s)
                                  : tr::shown(u"windowDisplaySumPaid"_s, u"Оплачено %1"_s);
    QStringList details{sum.arg(money(paid->receipt->getSum()))};
    if (paid->earning == Payment::Earning::Done)
        details.append(tr::shown(u"windowDisplayEarned"_s, u"Начислено баллов: %1"_s)
                           .arg(screen::amount(paid->earned.value_or(0))));
    else if (paid->earning == Payment::Earning::Queued)
        details.append(tr::shown(u"windowDisplayEarnsLater"_s, u"Баллы будут начислены позже"_s));
    m_details->setText(details.join(u'\n'));
}

void CustomerDisplay::showPrompt()
{
    QString text;
    if (m_waiting.asksCustomer())
        text = tr::shown(u"windowDisplayCode"_s, u"Назовите кассиру код из СМС"_s);
    else if (m_waiting.underWay() || m_model.state() == State::SpendingUnknown)
        text = tr::shown(u"windowDisplayWait"_s, u"Подождите, пожалуйста"_s);
    m_prompt->setText(text);
    m_prompt->setHidden(text.isEmpty());
}

} // namespace till::window
