#include "till/window/focus.h"

namespace till::window {

namespace {

bool canTake(const QWidget& widget) { return widget.isEnabled() && widget.isVisibleTo(widget.window()); }

} // namespace

Focus::Focus(const CheckoutModel& model, QLineEdit& article, QLineEdit& points, QWidget& rest)
    : m_model(model)
    , m_article(article)
    , m_points(points)
    , m_rest(rest)
{}

void Focus::place()
{
    const auto card = m_model.checkout().card();
    const QString number = card ? card->getNumber().toString() : QString();
    const bool isFound = number != std::exchange(m_card, number) && card;
    const QWidget* now = m_article.window()->focusWidget();
    const bool isAtWork = now && now->isEnabled() && (qobject_cast<const QLineEdit*>(now) || now == &m_rest);
    if (isFound && canTake(m_points))
        m_points.setFocus();
    else if (isAtWork && !isFound)
        return;
    else if (canTake(m_article))
        m_article.setFocus();
    else
        m_rest.setFocus();
}

} // namespace till::window
