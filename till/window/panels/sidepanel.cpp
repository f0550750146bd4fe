#include "till/window/panels/sidepanel.h"

#include "host/utils/basicexception.h"
#include "host/utils/printable.h"
#include "till/window/status.h"
#include "till/window/widgets.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

QListWidget* lines(const QString& name)
{
    auto* list = new QListWidget;
    list->setAccessibleName(name);
    list->setProperty("role", u"lines"_s);
    list->setWordWrap(true);
    list->setResizeMode(QListView::Adjust); // lines wrap anew when there is less room
    list->setTextElideMode(Qt::ElideNone);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    return list;
}

void fill(QListWidget& list, const QStringList& texts, const QString& none)
{
    list.clear();
    for (const QString& text : texts.isEmpty() ? QStringList{none} : texts)
        list.addItem(utils::printableLines(text));
}

/// Has the page scroll where there is no room for all of it, and shows what has the keys.
QWidget* scrolling(QWidget* page)
{
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(page);
    QObject::connect(qApp, &QApplication::focusChanged, area, [area](QWidget* /*before*/, QWidget* now) {
        if (now && area->isAncestorOf(now))
            area->ensureWidgetVisible(now);
    });
    return area;
}

} // namespace

SidePanel::SidePanel(CheckoutModel& model, std::function<void()> turned)
    : m_model(model)
    , m_customer(new CustomerPanel(model))
    , m_queue(lines(tr::shown(u"windowQueueName"_s, u"Очередь отправки"_s)))
    , m_send(button(tr::shown(u"windowSendNow"_s, u"Отправить сейчас"_s)))
    , m_timeline(lines(tr::shown(u"windowTimeline"_s, u"Ход чека"_s)))
    , m_pages(new QStackedWidget)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    int page = 0;
    for (const QString& name :
         {tr::shown(u"windowCustomer"_s, u"Покупатель"_s), tr::shown(u"windowQueue"_s, u"Очередь"_s),
          tr::shown(u"windowTimeline"_s, u"Ход чека"_s)}) {
        auto* tab = button(name, {}, u"tab"_s);
        tab->setCheckable(true);
        tab->setAutoExclusive(true);
        tab->setAccessibleDescription(tr::shown(u"windowKeyF12"_s, u"Клавиша F12 показывает следующую"_s));
        connect(tab, &QPushButton::clicked, this, [this, page] { show(page); });
        row->addWidget(tab, 1);
        m_tabs.append(tab);
        ++page;
    }
    layout->addLayout(row);
    m_pages->addWidget(scrolling(m_customer));
    m_pages->addWidget(queuePage());
    m_pages->addWidget(m_timeline);
    layout->addWidget(m_pages, 1);
    bindKey(Qt::Key_F12, [this] { show((m_pages->currentIndex() + 1) % m_pages->count()); });
    bindKey(Qt::Key_F3, [this] {
        showCustomer();
        m_customer->enterCustomer();
    });
    bindKey(Qt::Key_F7, [this] {
        showCustomer();
        m_customer->enterPoints();
    });
    bindKey(Qt::SHIFT | Qt::Key_F7, [this] {
        showCustomer();
        m_customer->spendAll();
    });
    show(0);
    m_turned = std::move(turned);
}

void SidePanel::bindKey(const QKeySequence& key, const std::function<void()>& action)
{
    auto* shortcut = new QShortcut(key, this);
    shortcut->setAutoRepeat(false);
    connect(shortcut, &QShortcut::activated, this, action);
}

QWidget* SidePanel::queuePage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_queue, 1);
    layout->addWidget(m_send);
    connect(m_send, &QPushButton::clicked, this, [this] { m_model.deliver(); });
    return page;
}

void SidePanel::show(int page)
{
    m_tabs[page]->setChecked(true);
    m_pages->setCurrentIndex(page);
    refresh();
    if (m_turned)
        m_turned();
}

void SidePanel::refresh()
{
    if (m_model.receipt())
        m_lastReceipt = m_model.receipt()->getIdentifier();
    m_customer->refresh();
    try {
        const int waiting = m_model.till().queue().waitingCount() + m_model.till().queue().parkedCount();
        m_tabs[1]->setText(waiting == 0 ? tr::shown(u"windowQueue"_s, u"Очередь"_s)
                                        : tr::shown(u"windowQueueOf"_s, u"Очередь: %1"_s).arg(waiting));
        m_send->setEnabled(waiting > 0);
        if (m_pages->currentIndex() == 1)
            fill(*m_queue, queueLines(m_model.till().queue()),
                 tr::shown(u"windowAllSent"_s, u"Всё отправлено"_s));
    } catch (const BasicException& failure) {
        fill(*m_queue, {failure.tr().shown()}, {});
    }
    if (m_pages->currentIndex() == 2) {
        fill(*m_timeline, m_lastReceipt.isEmpty() ? QStringList() : timelineOf(m_lastReceipt),
             tr::shown(u"windowTimelineEmpty"_s, u"С чеком ещё ничего не было"_s));
        m_timeline->scrollToBottom();
    }
}

} // namespace till::window
