#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/panels/customerpanel.h"

#include <QListWidget>
#include <QStackedWidget>

#include <functional>

namespace till::window {

/// One of three in the same place: the customer, the outgoing queue, what happened to the receipt.
class SidePanel : public QWidget
{
public:
    /// `turned`: another of them is shown. The model is the caller's and outlives the panel.
    SidePanel(CheckoutModel& model, std::function<void()> turned);

    void refresh();
    void showCustomer() { show(0); }
    [[nodiscard]] CustomerPanel& customer() const { return *m_customer; }

private:
    QWidget* queuePage();
    void show(int page);
    void bindKey(const QKeySequence& key, const std::function<void()>& action);

    CheckoutModel& m_model;
    CustomerPanel* m_customer;
    QListWidget* m_queue;
    QPushButton* m_send;
    QListWidget* m_timeline;
    QStackedWidget* m_pages;
    QList<QPushButton*> m_tabs;
    std::function<void()> m_turned;
    QString m_lastReceipt;
};

} // namespace till::window
