#include "till/window/panels/customerpanel.h"

#include "host/utils/masking.h"
#include "till/checkout/screen.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

QString statusOf(const DocumentCardRecord& card)
{
    switch (card.getCardStatus()) {
    case ECard::RegistrationIncomplete:
        return u", регистрация не завершена"_s;
    case ECard::Blocked:
        return u", заблокирована"_s;
    case ECard::Active:
        break;
    }
    return {};
}

} // namespace

CustomerPanel::CustomerPanel(CheckoutModel& model)
    : m_model(model)
    , m_entry(new QLineEdit)
    , m_hint(label({}, u"small"_s))
    , m_name(label({}, u"name"_s))
    , m_card(label({}, u"small"_s))
    , m_balance(label({}, u"name"_s))
    , m_again(button(u"Обновить"_s, {}, u"small"_s))
    , m_points(new QLineEdit)
    , m_spend(button(u"Списать"_s, u"F7"_s))
    , m_limit(label({}))
    , m_reason(label({}, u"small"_s))
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
    m_entry->setPlaceholderText(u"Покупатель F3"_s);
    m_entry->setAccessibleName(u"Карта или телефон покупателя"_s);
    m_entry->setAccessibleDescription(u"Клавиша F3; Enter ищет покупателя"_s);
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
    add(u"Карта"_s, CheckoutModel::Means::Card);
    add(u"Тел."_s, CheckoutModel::Means::Phone);
    layout->addLayout(row);
    layout->addWidget(m_hint);
    m_hint->setHidden(isCompact());
    connect(m_entry, &QLineEdit::returnPressed, this, [this] { find(CheckoutModel::Means::Guess); });
    connect(m_entry, &QLineEdit::textChanged, this, [this] { showHint(); });
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
    m_again->setAccessibleName(u"Обновить баланс"_s);
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
    layout->addWidget(m_limit);
    m_limit->setWordWrap(true);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    m_points->setPlaceholderText(u"Баллы"_s);
    m_points->setAccessibleName(u"Сколько баллов списать"_s);
    m_points->setAccessibleDescription(u"Клавиша F7; Enter списывает"_s);
    m_points->setObjectName(u"points"_s);
    m_points->setAlignment(Qt::AlignRight);
    row->addWidget(m_points, 1);
    row->addWidget(m_spend);
    layout->addLayout(row);
    m_reason->setWordWrap(true);
    layout->addWidget(m_reason);
    connect(m_spend, &QPushButton::clicked, this, [this] { spend(); });
    connect(m_points, &QLineEdit::returnPressed, this, [this] { spend(); });
    return area;
}

void CustomerPanel::enterCustomer()
{
    if (m_entry->isEnabled())
        enter(*m_entry);
    else
        m_model.say(Notice::Kind::Bad, m_model.checkout().obstacleTo(Action::Identify));
}

void CustomerPanel::enterPoints()
{
    if (m_points->isEnabled())
        enter(*m_points);
    else
        m_model.say(Notice::Kind::Bad, m_limit->text() + u". "_s + m_reason->text());
}

void CustomerPanel::find(CheckoutModel::Means means)
{
    if (m_model.identify(m_entry->text(), means))
        m_entry->clear();
    else
        m_entry->selectAll();
}

void CustomerPanel::spend()
{
    const QString typed = m_points->text();
    if (m_model.spend(typed.isEmpty() ? 0 : typedNumber(typed)))
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
    showHint();
    showCustomer();
    showPoints();
}

void CustomerPanel::showHint()
{
    const QString text = m_entry->text().trimmed();
    if (text.isEmpty())
        m_hint->setText(u"Номер карты или телефон, затем Enter"_s);
    else
        m_hint->setText(CheckoutModel::meansOf(text) == CheckoutModel::Means::Phone
                            ? u"Enter: поиск по телефону"_s
                            : u"Enter: поиск по карте"_s);
}

void CustomerPanel::showCustomer()
{
    const auto card = m_model.checkout().card();
    m_again->setEnabled(card && !m_model.isReturn() && m_model.state() != State::SpendingUnknown);
    if (!card) {
        m_name->setText(u"Покупатель не указан"_s);
        m_card->setText(u"Чек можно оплатить и без карты"_s);
        m_balance->setText(u"Баланс: —"_s);
        return;
    }
    const auto client = card->getCard()->getClient();
    m_name->setText(client && !client->getName().isEmpty() ? shortened(client->getName(), 100)
                                                           : u"Имя не указано"_s);
    m_card->setText(u"Карта "_s + utils::maskWhole(card->getNumber().toString()) + statusOf(*card));
    const QVariant balance = card->getBonusBalance();
    const QString caption = m_model.balanceTime().isValid() ? u"Баланс: "_s : u"Было: "_s;
    m_balance->setText(balance.isValid() ? caption + screen::amount(balance.toDouble()) : u"Баланс: —"_s);
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
    const auto unknown = m_model.checkout().unknownSpending();
    if (unknown) {
        m_points->clear();
        m_limit->setText(u"Списание %1: исход неизвестен"_s.arg(screen::amount(unknown->points)));
        m_reason->setText(u"Запрос ушёл в "_s + unknown->since.toString(u"HH:mm:ss"_s));
    } else if (spent) {
        m_limit->setText(u"Скидка баллами: "_s + money(m_model.spentPoints()));
        m_reason->setText(u"Баллы списаны: чек не меняется"_s);
    } else if (!card) {
        m_limit->setText(u"Списание баллов"_s);
        m_reason->setText(u"Сначала найдите покупателя"_s);
    } else if (!limit) {
        m_limit->setText(u"Можно списать: ещё не известно"_s);
        m_reason->setText(m_model.receipt()->getGoodsItems().isEmpty()
                              ? u"Сначала добавьте товары"_s
                              : u"Предел узнаем у службы при списании"_s);
    } else {
        m_limit->setText(u"Можно списать: "_s + screen::amount(limit->points));
        m_reason->setText(limit->reason);
    }
}

} // namespace till::window
