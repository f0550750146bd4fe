#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/widgets.h"

#include <QGridLayout>
#include <QPushButton>

#include <functional>

namespace till::window {

/// What is to be paid, and the one thing to do next; always in the same place.
class TotalsPanel : public QWidget
{
public:
    struct Actions
    {
        std::function<void()> next;    ///< the one thing to do
        std::function<void()> abandon; ///< to be rid of the receipt
        std::function<void()> giveBack;
    };

    /// The model is the caller's and outlives the panel.
    TotalsPanel(CheckoutModel& model, const Actions& actions);

    void refresh();

private:
    Label* addRow(QGridLayout& grid, int row, const QString& text);
    void showSums();
    void showActions();

    CheckoutModel& m_model;
    Label* m_wholeName;
    Label* m_whole;
    Label* m_discount;
    Label* m_points;
    Label* m_totalName;
    Label* m_total;
    QPushButton* m_next;
    QPushButton* m_abandon;
    QPushButton* m_return;
};

} // namespace till::window
