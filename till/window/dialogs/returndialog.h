#pragma once

#include "host/storage/documents.h"
#include "till/window/checkoutmodel.h"
#include "till/window/dialogs/question.h"
#include "till/window/widgets.h"

#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>

namespace till::window {

/// Which receipt, which of its positions, how much of each; and what it means for points, before it is done.
class ReturnDialog : public Question
{
public:
    ReturnDialog(CheckoutModel& model, QWidget* parent);

    [[nodiscard]] QString sale() const;
    [[nodiscard]] QList<ReturnLine> lines() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void readSales();
    void fillSales();
    void showSale();
    void change(double by);
    void takeAll();
    void preview();

    CheckoutModel& m_model;
    QList<ClosedSale> m_newest;
    QList<ClosedSale> m_sales; ///< of them, those in the list
    QLineEdit* m_number;
    QListWidget* m_list;
    QTableWidget* m_table;
    Label* m_preview;
    QPushButton* m_less;
    QPushButton* m_more;
    QPushButton* m_all;
    QPushButton* m_open;
    QString m_failure;        ///< what the store says; empty: nothing
    QList<double> m_left;     ///< of each row: what may still come back
    QList<double> m_quantity; ///< of each row: what is to come back now
};

/// What the return means for the customer's points, in Russian.
QString pointsPreview(const AbstractDocument& sale, const AbstractDocument& giveBack);

} // namespace till::window
