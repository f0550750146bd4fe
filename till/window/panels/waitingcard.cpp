#include "till/window/panels/waitingcard.h"

#include "host/utils/tr.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till::window {

namespace {

// As the plug-in calls it.
const tr::Tr usualText(u"processLoyaltyMessage"_s, u"Обращение к системе лояльности"_s);
const tr::Tr usualHint(u"windowWait"_s, u"Подождите: касса работает"_s);

} // namespace

WaitingCard::WaitingCard(QWidget* parent)
    : QFrame(parent)
    , m_text(label(usualText.shown(), u"name"_s))
    , m_hint(label(usualHint.shown()))
{
    setObjectName(u"waiting"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 20, 28, 20);
    for (Label* line : {m_text, m_hint}) {
        line->setAlignment(Qt::AlignCenter);
        layout->addWidget(line);
    }
    m_soon.setSingleShot(true);
    m_soon.setInterval(150ms); // an answer that comes at once needs no word
    connect(&m_soon, &QTimer::timeout, this, &QWidget::show);
    hide();
}

void WaitingCard::begin()
{
    m_hint->setText(usualHint.shown());
    place();
    m_soon.start();
}

void WaitingCard::end()
{
    m_soon.stop();
    hide();
    m_text->setText(usualText.shown());
}

void WaitingCard::showMessage(const QString& text)
{
    m_text->setText(text);
    place();
    show();
}

void WaitingCard::showIgnored(const QString& text)
{
    m_hint->setText(text);
    show();
}

void WaitingCard::place()
{
    setFixedSize(scaled(440), scaled(120));
    move((parentWidget()->width() - width()) / 2, (parentWidget()->height() - height()) / 2);
    raise();
}

QString WaitingCard::text() const { return isVisible() ? m_text->text() : QString(); }

} // namespace till::window
