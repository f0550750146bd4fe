#include "till/window/panels/positionspanel.h"

#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/dialogs/inputdialog.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

PositionsPanel::PositionsPanel(CheckoutModel& model, WindowFrontend& frontend)
    : m_model(model)
    , m_frontend(frontend)
    , m_pages(new QStackedWidget)
    , m_table(new PositionsTable)
    , m_headline(label({}, u"headline"_s))
    , m_details(label({}, u"name"_s))
    , m_article(new QLineEdit)
    , m_add(button(tr::shown(u"windowAdd"_s, u"Добавить"_s), u"Enter"_s))
    , m_found(new GoodsSearch(model.catalogue()))
    , m_keys(new GoodsKeys(model.catalogue(), [&model](const Goods& goods) { model.addGoods(goods); }))
{
    auto* finished = panel();
    auto* lines = new QVBoxLayout(finished);
    lines->addStretch();
    for (Label* line : {m_headline, m_details}) {
        line->setAlignment(Qt::AlignCenter);
        line->setWordWrap(true);
        lines->addWidget(line);
    }
    lines->addStretch();

    m_pages->addWidget(m_table);
    m_pages->addWidget(finished);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_pages, 1);
    layout->addWidget(changesRow());
    layout->addWidget(entryRow());
    layout->addWidget(m_found, 1);
    layout->addWidget(m_keys);
    m_keys->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(m_found, &GoodsSearch::touched, this, [this](const Goods& goods) { addFound(goods); });
    connect(m_article, &QLineEdit::textChanged, this, [this] { showFound(); });
    m_article->installEventFilter(this);
}

QWidget* PositionsPanel::entryRow()
{
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    m_article->setPlaceholderText(tr::shown(u"windowArticleField"_s, u"Артикул или название  F2"_s));
    m_article->setAccessibleName(tr::shown(u"windowArticleName"_s, u"Артикул товара"_s));
    m_article->setAccessibleDescription(tr::shown(
        u"windowArticleKeys"_s, u"Клавиша F2; Enter добавляет товар, стрелки выбирают из найденных"_s));
    m_article->setObjectName(u"article"_s);
    constexpr int marking = 200; // as long as a marking code may be
    limitLength(*m_article, marking, [this](const QString& text) { m_model.say(Notice::Kind::Bad, text); });
    layout->addWidget(m_article, 1);
    layout->addWidget(m_add);
    connect(m_add, &QPushButton::clicked, this, [this] { enterArticle(); });
    connect(m_article, &QLineEdit::returnPressed, this, [this] { enterArticle(); });
    auto* key = new QShortcut(Qt::Key_F2, this);
    connect(m_table, &PositionsTable::typed, this, &PositionsPanel::refuse);
    connect(key, &QShortcut::activated, m_article, [this] {
        if (!m_article->isEnabled())
            return refuse();
        enter(*m_article);
    });
    return row;
}

bool PositionsPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_article || event->type() != QEvent::KeyPress || m_found->isHidden())
        return QWidget::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        QCoreApplication::sendEvent(m_found, event);
        return true;
    case Qt::Key_Escape:
        m_article->clear();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void PositionsPanel::showFound()
{
    m_found->search(m_article->text());
    m_keys->setVisible(m_found->isHidden());
}

QWidget* PositionsPanel::changesRow()
{
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    const auto add = [&](const QString& text, const QString& key, Qt::Key code,
                         void (PositionsPanel::*action)()) {
        auto* made = button(text, key);
        connect(made, &QPushButton::clicked, this, action);
        bind(this, code, made, [this] { refuse(); });
        layout->addWidget(made);
        m_changes.append(made);
    };
    add(tr::shown(u"windowQuantity"_s, u"Количество"_s), u"F4"_s, Qt::Key_F4, &PositionsPanel::askQuantity);
    add(tr::shown(u"windowDiscount"_s, u"Скидка"_s), u"F5"_s, Qt::Key_F5, &PositionsPanel::askDiscount);
    add(tr::shown(u"windowRemove"_s, u"Удалить"_s), u"F6"_s, Qt::Key_F6, &PositionsPanel::removeSelected);
    return row;
}

void PositionsPanel::refresh()
{
    const auto receipt = m_model.receipt();
    const bool changeable = m_model.can(Action::SetLines);
    m_table->fill(receipt);
    if (!receipt)
        fillFinished();
    m_pages->setCurrentIndex(receipt ? 0 : 1);
    const bool isOpen = changeable || !receipt;
    if (!isOpen)
        m_article->clear(); // it was for a receipt that takes nothing more
    for (QWidget* entry : QList<QWidget*>{m_article, m_add, m_keys})
        entry->setEnabled(isOpen);
    for (QPushButton* change : m_changes)
        change->setEnabled(changeable && m_table->rowCount() > 0);
}

void PositionsPanel::fillFinished()
{
    const QStringList& lines = m_model.finished();
    if (lines.isEmpty()) {
        m_headline->setText(tr::shown(u"windowNoReceipt"_s, u"Чека нет"_s));
        m_details->setText(tr::shown(u"windowBegin"_s, u"Откройте новый чек или добавьте товар"_s));
        return;
    }
    // "Чек 7: оплачено 10,00": the sum is what the cashier looks for
    const qsizetype colon = lines.first().indexOf(u": "_s);
    QString headline = lines.first().sliced(colon < 0 ? 0 : colon + 2);
    headline[0] = headline[0].toUpper();
    m_headline->setText(colon < 0 ? headline : headline + u" ₽"_s);
    m_details->setText(
        ((colon < 0 ? QStringList() : QStringList{lines.first().first(colon)}) + lines.sliced(1))
            .join(u'\n'));
}

void PositionsPanel::addFound(const Goods& goods)
{
    m_model.addGoods(goods);
    m_article->clear();
}

void PositionsPanel::enterArticle()
{
    if (m_article->text().trimmed().isEmpty())
        return m_model.say(Notice::Kind::Plain,
                           tr::shown(u"windowTypeArticle"_s, u"Введите артикул товара"_s));
    if (const Goods* goods = m_found->chosen())
        return addFound(*goods);
    if (!m_found->isHidden())
        return m_model.say(Notice::Kind::Bad,
                           tr::shown(u"windowGoodsFoundSeveral"_s,
                                     u"Найдено несколько товаров: выберите стрелками или пальцем"_s));
    if (m_model.addArticle(m_article->text()))
        m_article->clear();
    else
        m_article->selectAll();
}

void PositionsPanel::askFor(const tr::Tr& title, const QString& question, const QString& formName,
                            void (CheckoutModel::*set)(int posnum, double value))
{
    const int posnum = m_table->selected();
    const auto item = m_model.receipt()->getGoodsItemByPosnum(posnum);
    const QString which = u"%1. %2"_s.arg(QString::number(posnum), shortened(item->getName(false), 60));
    TextInputRequest request(title, tr::Tr(u"tillPositionNumber"_s, which + u'\n' + question));
    request.inputKind = TextInputRequest::Digits;
    request.emptyAllowed = false;
    request.formName = formName;
    request.scanErrorText = {}; // no code is an answer here: the window's own word for it
    const auto answer = m_frontend.inputText(request);
    if (!answer.canceled())
        (m_model.*set)(posnum, typedNumber(answer.getData()));
}

void PositionsPanel::askQuantity()
{
    askFor(tr::Tr(u"tillQuantityTitle"_s, u"Количество"_s),
           tr::shown(u"windowAskQuantity"_s, u"Сколько единиц товара"_s), u"quantity"_s,
           &CheckoutModel::setQuantity);
}

void PositionsPanel::askDiscount()
{
    askFor(tr::Tr(u"tillDiscountTitle"_s, u"Скидка"_s),
           tr::shown(u"windowAskDiscount"_s, u"Сколько рублей снять с позиции"_s), u"discount"_s,
           &CheckoutModel::setDiscount);
}

void PositionsPanel::refuse()
{
    QString why = m_model.receipt() ? m_model.checkout().obstacleTo(Action::SetLines) : QString();
    if (why.isEmpty())
        why = m_table->rowCount() == 0
                  ? tr::shown(u"windowNoGoods"_s, u"В чеке нет товаров"_s)
                  : tr::shown(u"windowArticleWhere"_s, u"Артикул вводят в поле под списком: F2"_s);
    m_model.say(Notice::Kind::Bad, why);
}

void PositionsPanel::removeSelected() { m_model.remove(m_table->selected()); }

} // namespace till::window
