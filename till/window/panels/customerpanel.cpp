#include "till/window/panels/customerpanel.h"

#include "host/utils/masking.h"
#include "host/utils/printable.h"
#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

QString statusOf(const DocumentCardRecord& card)
{
    switch (card.getCardStatus()) {
    case ECard::RegistrationIncomplete:
        return tr::shown(u"windowUnregisteredMark"_s, u", регистрация не завершена"_s);
    case ECard::Blocked:
        return tr::shown(u"windowBlockedMark"_s, u", заблокирована"_s);
    case ECard::Active:
        break;
    }
    return {};
}

} // namespace

CustomerPanel::CustomerPanel(CheckoutModel& model)
    : m_model(model)
    , m_entry(new QLineEdit)
    , m_name(label({}, u"name"_s))
    , m_card(label({}, u"small"_s))
    , m_balance(label({}, u"name"_s))
    , m_again(button(tr::shown(u"windowRefresh"_s, u"Обновить"_s), {}, u"small"_s))
    , m_points(new QLineEdit)
    , m_all(button(tr::shown(u"windowSpendAll"_s, u"Все"_s), u"⇧F7"_s, u"small"_s))
    , m_spend(button(tr::shown(u"windowSpend"_s, u"Списать"_s), {}, u"small"_s))
    , m_limit(label({}))
    , m_reason(label({}, u"small"_s))
    , m_expected(label({}, u"small"_s))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(isCompact() ? 6 : 8);
    auto* who = panel();
    auto* inner = new QVBoxLayout(who);
    inner->setContentsMargins(12, 8, 12, 8);
    inner->setSpacing(isCompact() ? 2 : 6);
    inner->addWidget(search());
    inner->addWidget(customer());
    layout->addWidget(who);
    layout->addWidget(points());
    layout->addStretch();
}

QWidget* CustomerPanel::search()
{
    auto* area = new QWidget;
    auto* layout = new QVBoxLayout(area);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    m_entry->setPlaceholderText(tr::shown(u"windowCustomerKey"_s, u"Покупатель F3"_s));
    m_entry->setAccessibleName(tr::shown(u"windowCustomerName"_s, u"Карта или телефон покупателя"_s));
    m_entry->setAccessibleDescription(tr::shown(u"windowKeyF3"_s, u"Клавиша F3; Enter ищет покупателя"_s));
    m_entry->setObjectName(u"customer"_s);
    const auto refuse = [this](const QString& text) { m_model.say(Notice::Kind::Bad, text); };
    limitLength(*m_entry, 40, refuse);
    limitLength(*m_points, 15, refuse);
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    row->addWidget(m_entry, 1);
    const auto add = [&](const QString& text, CheckoutModel::Means means) {
        auto* made = button(text, {}, u"small"_s);
        connect(made, &QPushButton::clicked, this, [this, means] { find(means); });
        row->addWidget(made);
        m_finders.append(made);
    };
    add(tr::shown(u"windowCard"_s, u"Карта"_s), CheckoutModel::Means::Card);
    add(tr::shown(u"windowPhone"_s, u"Тел."_s), CheckoutModel::Means::Phone);
    layout->addLayout(row);
    connect(m_entry, &QLineEdit::returnPressed, this, [this] { find(CheckoutModel::Means::Guess); });
    connect(m_entry, &QLineEdit::textChanged, this, [this] { showCustomer(); });
    return area;
}

QWidget* CustomerPanel::customer()
{
    auto* area = new QWidget;
    auto* layout = new QVBoxLayout(area);
    layout->setContentsMargins(0, isCompact() ? 0 : 4, 0, 0);
    layout->setSpacing(isCompact() ? 0 : 2);
    m_name->setWordWrap(true);
    m_card->setWordWrap(true);
    layout->addWidget(m_name);
    layout->addWidget(m_card);
    auto* row = new QHBoxLayout;
    m_balance->setWordWrap(true);
    row->addWidget(m_balance, 1);
    row->addWidget(m_again);
    m_again->setAccessibleName(tr::shown(u"windowRefreshBalance"_s, u"Обновить баланс"_s));
    connect(m_again, &QPushButton::clicked, this, [this] {
        m_model.refresh();
        if (m_model.state() == State::Sale)
            m_model.askLimit();
    });
    layout->addLayout(row);
    return area;
}

QWidget* CustomerPanel::points()
{
    auto* area = panel();
    auto* layout = new QVBoxLayout(area);
    layout->setContentsMargins(12, isCompact() ? 6 : 10, 12, isCompact() ? 6 : 10);
    layout->setSpacing(isCompact() ? 2 : 6);
    for (Label* words : {m_limit, m_reason, m_expected})
        words->setWordWrap(true);
    layout->addWidget(m_limit);
    layout->addWidget(m_reason);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    m_points->setPlaceholderText(tr::shown(u"windowPointsField"_s, u"Баллы F7"_s));
    m_points->setAccessibleName(tr::shown(u"windowPointsName"_s, u"Сколько баллов списать"_s));
    m_points->setAccessibleDescription(tr::shown(u"windowKeyF7"_s, u"Клавиша F7; Enter списывает"_s));
    m_points->setObjectName(u"points"_s);
    m_points->setAlignment(Qt::AlignRight);
    m_points->installEventFilter(this);
    m_all->setAccessibleName(tr::shown(u"windowSpendAllName"_s, u"Списать все баллы"_s));
    m_all->setAccessibleDescription(tr::shown(u"windowSpendAllKey"_s, u"Клавиши Shift+F7"_s));
    row->addWidget(m_points, 1);
    row->addWidget(m_all);
    row->addWidget(m_spend);
    layout->addLayout(row);
    layout->addWidget(m_expected);
    connect(m_all, &QPushButton::clicked, this, [this] { spendAll(); });
    connect(m_points, &QLineEdit::textChanged, this, [this] { showExpectation(); });
    connect(m_spend, &QPushButton::clicked, this, [this] { spend(); });
    connect(m_points, &QLineEdit::returnPressed, this, [this] { spend(); });
    return area;
}

void CustomerPanel::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    QMetaObject::invokeMethod(this, &CustomerPanel::showCustomer, Qt::QueuedConnection); // once it is laid
}

void CustomerPanel::enterCustomer()
{
    if (m_entry->isEnabled())
        enter(*m_entry);
    else
        m_model.say(Notice::Kind::Bad, m_model.checkout().obstacleTo(Action::Identify));
}

bool CustomerPanel::requirePoints()
{
    if (m_points->isEnabled())
        return true;
    m_model.say(Notice::Kind::Bad, m_limit->text() + u". "_s + m_reason->text());
    return false;
}

// Whoever types an amount sees first how much there is; what the service does not say now it is asked for
// once more when the points are spent.
void CustomerPanel::enterPoints()
{
    if (!requirePoints())
        return;
    m_model.requireLimit();
    if (m_points->isEnabled())
        enter(*m_points);
}

void CustomerPanel::spendAll()
{
    const auto most = requirePoints() ? m_model.requireLimit() : std::nullopt;
    if (!most || !requirePoints())
        return;
    m_points->setText(screen::amount(most->points));
    enter(*m_points);
    spend();
}

bool CustomerPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonRelease && m_points->isEnabled() && !m_model.limit())
        QMetaObject::invokeMethod(this, &CustomerPanel::enterPoints, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void CustomerPanel::find(CheckoutModel::Means means)
{
    if (m_model.identify(m_entry->text(), means))
        m_entry->clear();
    else
        m_entry->selectAll();
}

double CustomerPanel::typedPoints() const
{
    return m_points->text().isEmpty() ? 0 : typedNumber(m_points->text());
}

void CustomerPanel::spend()
{
    if (m_model.spend(typedPoints()))
        m_points->clear();
    else
        m_points->selectAll();
}

void CustomerPanel::refresh()
{
    const bool changeable = m_model.can(Action::Identify) || m_model.state() == State::Idle;
    const QString receipt = m_model.receipt() ? m_model.receipt()->getIdentifier() : QString();
    if (receipt != std::exchange(m_shownReceipt, receipt)) {
        m_entry->clear();
        m_points->clear();
    }
    m_entry->setEnabled(changeable);
    for (QPushButton* finder : m_finders)
        finder->setEnabled(changeable);
    showCustomer();
    showPoints();
}

QString CustomerPanel::searchHint() const
{
    const QString text = m_entry->text().trimmed();
    if (text.isEmpty())
        return tr::shown(u"windowNoCardNeeded"_s, u"Чек можно оплатить и без карты"_s);
    return CheckoutModel::meansOf(text) == CheckoutModel::Means::Phone
               ? tr::shown(u"windowEnterPhone"_s, u"Enter: поиск по телефону"_s)
               : tr::shown(u"windowEnterCard"_s, u"Enter: поиск по карте"_s);
}

void CustomerPanel::showCustomer()
{
    const auto card = m_model.checkout().card();
    m_again->setEnabled(card && !m_model.isReturn() && m_model.state() != State::SpendingUnknown);
    if (!card) {
        m_name->setText(tr::shown(u"windowNoCustomer"_s, u"Покупатель не указан"_s));
        m_card->setText(searchHint());
        m_balance->setText(tr::shown(u"windowNoBalance"_s, u"Баланс: —"_s));
        return;
    }
    const auto client = card->getCard()->getClient();
    const QString name = client && !client->getName().isEmpty()
                             ? utils::printable(client->getName())
                             : tr::shown(u"windowNameless"_s, u"Имя не указано"_s);
    m_name->setText(inTwoLines(name, m_name->font(), m_name->width()));
    m_card->setText(tr::shown(u"windowCardNumber"_s, u"Карта "_s) +
                    utils::maskWhole(card->getNumber().toString()) + statusOf(*card));
    const QVariant balance = card->getBonusBalance();
    const auto expected = m_model.expectation();
    if (!balance.isValid())
        m_balance->setText(tr::shown(u"windowNoBalance"_s, u"Баланс: —"_s));
    else if (m_model.balanceTime().isValid())
        m_balance->setText(tr::shown(u"windowBalance"_s, u"Баланс: "_s) + screen::amount(balance.toDouble()));
    else if (expected)
        m_balance->setText(tr::shown(u"windowBalanceLeft"_s, u"Осталось: %1"_s)
                               .arg(screen::amount(expected->balance - expected->spent)));
    else
        m_balance->setText(tr::shown(u"windowBalanceWas"_s, u"Было: "_s) +
                           screen::amount(balance.toDouble()));
}

/// What the balance will be, each part of it said; what nobody knows yet is named and not made up.
void CustomerPanel::showExpectation()
{
    const double typed = typedPoints();
    const auto expected = m_model.expectation(typed > 0 ? typed : 0);
    m_expected->setVisible(m_model.checkout().card() && !m_model.isReturn());
    if (!expected)
        return m_expected->setText(
            tr::shown(u"windowExpectedUnknown"_s, u"После чека: неизвестно, баланс не проверен"_s));
    QString parts = screen::amount(expected->balance);
    if (expected->spent > 0)
        parts += u" − "_s + screen::amount(expected->spent);
    if (!expected->earned)
        return m_expected->setText(
            tr::shown(u"windowExpectedWithoutEarning"_s, u"После чека: %1 и начисление (неизвестно)"_s)
                .arg(parts));
    m_expected->setText(tr::shown(u"windowExpected"_s, u"После чека: %1"_s)
                            .arg(parts + u" + "_s + screen::amount(*expected->earned) +
                                 (expected->isRounded ? u" ≈ "_s : u" = "_s) +
                                 screen::amount(expected->balance - expected->spent + *expected->earned)));
}

void CustomerPanel::showPoints()
{
    const auto card = m_model.checkout().card();
    const auto limit = m_model.limit();
    const bool spent = m_model.checkout().hasSpentPoints();
    const bool allowed = m_model.can(Action::Spend) && m_model.state() != State::SpendingUnknown && card &&
                         !m_model.receipt()->getGoodsItems().isEmpty() && (!limit || limit->points > 0);
    m_points->setEnabled(allowed);
    m_spend->setEnabled(allowed);
    m_all->setEnabled(allowed);
    showExpectation();
    const auto unknown = m_model.checkout().unknownSpending();
    if (unknown) {
        m_points->clear();
        m_limit->setText(tr::shown(u"windowSpendingOpen"_s, u"Списание %1: исход неизвестен"_s)
                             .arg(screen::amount(unknown->points)));
        m_reason->setText(tr::shown(u"windowAskedAt"_s, u"Запрос ушёл в "_s) +
                          unknown->since.toString(u"HH:mm:ss"_s));
    } else if (spent) {
        m_limit->setText(tr::shown(u"windowPointsDiscount"_s, u"Скидка баллами: "_s) +
                         money(m_model.spentPoints()));
        m_reason->setText(tr::shown(u"windowLocked"_s, u"Баллы списаны: чек не меняется"_s));
    } else if (!card) {
        m_limit->setText(tr::shown(u"windowSpending"_s, u"Списание баллов"_s));
        m_reason->setText(tr::shown(u"windowCustomerFirst"_s, u"Сначала найдите покупателя"_s));
    } else if (!limit) {
        m_limit->setText(tr::shown(u"windowLimitUnknown"_s, u"Можно списать: ещё не известно"_s));
        m_reason->setText(m_model.receipt()->getGoodsItems().isEmpty()
                              ? tr::shown(u"windowGoodsFirst"_s, u"Сначала добавьте товары"_s)
                              : tr::shown(u"windowLimitLater"_s, u"Предел узнаем у службы при списании"_s));
    } else {
        m_limit->setText(tr::shown(u"windowLimit"_s, u"Можно списать: "_s) + screen::amount(limit->points));
        m_reason->setText(limit->reason);
    }
}

} // namespace till::window
