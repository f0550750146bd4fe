#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/waiting.h"
#include "till/window/widgets.h"

#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>

#include <chrono>

namespace till::window {

/// The window that the customer sees: what they buy, what it comes to, and who is waited for. It observes and
/// takes no input; of the customer it shows what the cashier's window does, and of errors, queue and books
/// nothing. Letters grow with it, from 800 x 480 on; it grows with nothing.
class CustomerDisplay : public QWidget
{
public:
    /// Both are the caller's and outlive it. The thanks for a receipt give way to the greeting after
    /// `thanks`: what was paid is nothing for the next customer.
    CustomerDisplay(const CheckoutModel& model, const Waiting& waiting,
                    std::chrono::milliseconds thanks = std::chrono::seconds(15));

    /// Shows it on a screen that the cashier's window is not on, all over it; where there is none, as a small
    /// window. Again whenever screens come or go.
    void showBeside(QWidget& cashiers);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    /// An amount behind its name.
    struct Row
    {
        Label* name;
        Label* amount;
    };

    QWidget* words();
    QWidget* sums();
    void place(QWidget& cashiers);
    void refresh();
    void showReceipt(const Document& receipt);
    void showPositions(const Document& receipt);
    void showCustomer();
    void showWords();
    void showPrompt();

    const CheckoutModel& m_model;
    const Waiting& m_waiting;
    QStackedWidget* m_pages;
    Label* m_headline;
    Label* m_details;
    QTableWidget* m_positions;
    Label* m_name;
    Label* m_card;
    Label* m_earning;
    Row m_whole;
    Row m_discount;
    Row m_points;
    Row m_total;
    Label* m_prompt;
    QTimer m_thanks;
    int m_percent = 0; ///< of the letters
};

} // namespace till::window
