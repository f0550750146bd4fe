#pragma once

#include "till/window/desk.h"
#include "till/window/widgets.h"

#include <QLineEdit>
#include <QPushButton>

namespace till::window {

/// Who buys, and what points they may spend.
class CustomerPanel : public QWidget
{
public:
    /// The desk is the caller's and outlives the panel.
    explicit CustomerPanel(Desk& desk);

    void refresh();

private:
    QWidget* search();
    QWidget* customer();
    QWidget* points();
    void showHint();
    void showCustomer();
    void showPoints();
    void find(Desk::Means means);
    void spend();

    Desk& m_desk;
    QLineEdit* m_entry;
    Label* m_hint;
    QList<QPushButton*> m_finders;
    Label* m_name;
    Label* m_card;
    Label* m_balance;
    QPushButton* m_again;
    QLineEdit* m_points;
    QPushButton* m_spend;
    Label* m_limit;
    Label* m_reason;
    QString m_shownReceipt;
};

} // namespace till::window
