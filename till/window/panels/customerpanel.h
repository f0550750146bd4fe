#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/widgets.h"

#include <QLineEdit>
#include <QPushButton>

namespace till::window {

/// Who buys, and what points they may spend.
class CustomerPanel : public QWidget
{
public:
    /// The model is the caller's and outlives the panel.
    explicit CustomerPanel(CheckoutModel& model);

    bool eventFilter(QObject* watched, QEvent* event) override;

    void refresh();
    /// The next key is for the customer's card or phone; a word when nobody can be looked for now.
    void enterCustomer();
    /// The same for the points to spend.
    void enterPoints();
    /// Spends all that may be spent.
    void spendAll();
    /// Where the customer's card or phone is typed.
    [[nodiscard]] QLineEdit& customerField() const { return *m_entry; }
    /// Where points are typed.
    [[nodiscard]] QLineEdit& pointsField() const { return *m_points; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* search();
    QWidget* customer();
    QWidget* points();
    /// What Enter does with what is typed.
    [[nodiscard]] QString searchHint() const;
    void showCustomer();
    void showPoints();
    void showExpectation();
    [[nodiscard]] double typedPoints() const;
    /// Whether points can be spent now; else says why not.
    bool requirePoints();
    void find(CheckoutModel::Means means);
    void spend();

    CheckoutModel& m_model;
    QLineEdit* m_entry;
    QList<QPushButton*> m_finders;
    Label* m_name;
    Label* m_card;
    Label* m_balance;
    QPushButton* m_again;
    QLineEdit* m_points;
    QPushButton* m_all;
    QPushButton* m_spend;
    Label* m_limit;
    Label* m_reason;
    Label* m_expected;
    QString m_shownReceipt;
};

} // namespace till::window
