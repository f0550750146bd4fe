#pragma once

#include "till/window/checkoutmodel.h"

#include <QLineEdit>

namespace till::window {

/// Where the next key goes. Decided here for the whole window, after each action: never on a button, which
/// Enter or Space would press.
class Focus
{
public:
    /// All are the caller's and outlive this. `rest`: takes the focus when nothing can be typed.
    Focus(const CheckoutModel& model, QLineEdit& article, QLineEdit& points, QWidget& rest);

    /// To the points of a customer who was just found; else it stays in the entry or the table that has it;
    /// else to the article.
    void place();

private:
    const CheckoutModel& m_model;
    QLineEdit& m_article;
    QLineEdit& m_points;
    QWidget& m_rest;
    QString m_card; ///< that was on the receipt the last time
};

} // namespace till::window
