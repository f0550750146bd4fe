#include "till/window/panels/totalspanel.h"

#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

QString nextText(const CheckoutModel& model)
{
    if (model.state() == State::Idle)
        return tr::shown(u"windowNew"_s, u"Новый чек"_s);
    if (model.state() == State::SpendingUnknown)
        return tr::shown(u"windowSpendAgain"_s, u"Повторить списание"_s);
    return model.isReturn() ? tr::shown(u"windowGiveMoney"_s, u"Вернуть деньги"_s)
                            : tr::shown(u"windowPay"_s, u"Оплатить"_s);
}

} // namespace

Label* TotalsPanel::addRow(QGridLayout& grid, int row, const QString& text)
{
    auto* value = new SumLabel;
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    value->setAccessibleName(text);
    grid.addWidget(label(text), row, 0);
    grid.addWidget(value, row, 1);
    return value;
}

TotalsPanel::TotalsPanel(CheckoutModel& model, const Actions& actions)
    : m_model(model)
    , m_totalName(label(tr::shown(u"windowToPay"_s, u"К оплате"_s), u"name"_s))
    , m_total(new SumLabel)
    , m_next(button({}, {}, u"primary"_s))
    , m_abandon(button(tr::shown(u"windowAbandon"_s, u"Отменить чек"_s), u"F8"_s, u"danger"_s))
    , m_return(button(tr::shown(u"windowReturn"_s, u"Возврат"_s), u"F10"_s))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* sums = panel();
    auto* grid = new QGridLayout(sums);
    grid->setContentsMargins(12, 8, 12, 8);
    grid->setVerticalSpacing(2);
    grid->setColumnStretch(1, 1);
    m_whole = addRow(*grid, 0, tr::shown(u"windowSum"_s, u"Сумма"_s));
    m_wholeName = static_cast<Label*>(grid->itemAtPosition(0, 0)->widget());
    m_discount = addRow(*grid, 1, tr::shown(u"windowDiscounts"_s, u"Скидки"_s));
    m_points = addRow(*grid, 2, tr::shown(u"windowByPoints"_s, u"Баллами"_s));
    for (QWidget* part : {grid->itemAtPosition(1, 0)->widget(), grid->itemAtPosition(1, 1)->widget()})
        part->setHidden(isCompact()); // the positions tell it
    m_total->setProperty("role", u"total"_s);
    m_total->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    grid->addWidget(m_totalName, 3, 0);
    grid->addWidget(m_total, 3, 1);
    layout->addWidget(sums);
    m_next->setObjectName(u"next"_s);
    layout->addWidget(m_next);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_abandon, 3);
    row->addWidget(m_return, 2);
    layout->addLayout(row);
    connect(m_next, &QPushButton::clicked, this, actions.next);
    connect(m_abandon, &QPushButton::clicked, this, actions.abandon);
    connect(m_return, &QPushButton::clicked, this, actions.giveBack);
    const auto say = [this](const QString& why) { m_model.say(Notice::Kind::Bad, why); };
    bind(this, Qt::Key_F9, m_next, [this, say] {
        const QString obstacle = m_model.checkout().obstacleTo(Action::Pay);
        say(obstacle.isEmpty() ? tr::shown(u"windowGoodsFirst"_s, u"Сначала добавьте товары"_s) : obstacle);
    });
    bind(this, Qt::Key_F8, m_abandon, [this, say] { say(m_model.checkout().obstacleTo(Action::RollBack)); });
    bind(this, Qt::Key_F10, m_return,
         [say] { say(tr::shown(u"windowFinishFirst"_s, u"Сначала закончите этот чек"_s)); });
}

void TotalsPanel::refresh()
{
    showSums();
    showActions();
}

void TotalsPanel::showSums()
{
    const auto receipt = m_model.receipt();
    const double bonus = m_model.spentPoints();
    const double sum = receipt ? receipt->getSum() : 0;
    const double discount = receipt ? receipt->getDiscountSum() - bonus : 0;
    const auto minus = [](double value) { return value > 0.004 ? u"−"_s + money(value) : money(0); };
    const qsizetype positions = receipt ? receipt->getGoodsItems().size() : 0;
    m_wholeName->setText(positions > 0 ? tr::shown(u"windowSumOf"_s, u"Сумма, %1 поз."_s).arg(positions)
                                       : tr::shown(u"windowSum"_s, u"Сумма"_s));
    m_whole->setText(money(sum + bonus + discount));
    m_discount->setText(minus(discount));
    m_points->setText(minus(bonus));
    m_total->setText(money(sum));
    const bool isReturn = m_model.isReturn();
    m_totalName->setText(isReturn ? tr::shown(u"windowToReturn"_s, u"К возврату"_s)
                                  : tr::shown(u"windowToPay"_s, u"К оплате"_s));
    m_total->setAccessibleName(m_totalName->text());
}

void TotalsPanel::showActions()
{
    const auto receipt = m_model.receipt();
    const bool hasGoods = receipt && !receipt->getGoodsItems().isEmpty();
    setText(*m_next, nextText(m_model), u"F9"_s);
    m_next->setEnabled(!receipt || (hasGoods && m_model.state() != State::Abandoned));
    setText(*m_abandon,
            m_model.isReturn() ? tr::shown(u"windowKeepGoods"_s, u"Не возвращать"_s)
                               : tr::shown(u"windowAbandon"_s, u"Отменить чек"_s),
            u"F8"_s);
    m_abandon->setEnabled(m_model.can(Action::RollBack));
    m_return->setEnabled(!receipt || (m_model.state() == State::Sale && !hasGoods));
}

} // namespace till::window
