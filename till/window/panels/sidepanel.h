#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/panels/customerpanel.h"

#include <QListWidget>
#include <QStackedWidget>

namespace till::window {

/// One of three in the same place: the customer, the outgoing queue, what happened to the receipt.
class SidePanel : public QWidget
{
public:
    explicit SidePanel(CheckoutModel& model);

    void refresh();
    void showCustomer() { show(0); }

private:
    QWidget* queuePage();
    void show(int page);

    CheckoutModel& m_model;
    CustomerPanel* m_customer;
    QListWidget* m_queue;
    QPushButton* m_send;
    QListWidget* m_timeline;
    QStackedWidget* m_pages;
    QList<QPushButton*> m_tabs;
    QString m_lastReceipt;
};

} // namespace till::window
