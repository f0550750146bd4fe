#pragma once

#include "till/window/checkoutmodel.h"
#include "till/window/frontend.h"
#include "till/window/panels/goodskeys.h"
#include "till/window/panels/goodssearch.h"
#include "till/window/panels/positionstable.h"
#include "till/window/widgets.h"

#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>

namespace till::window {

/// What is bought: the table, the entry of articles, and the changes of a position.
class PositionsPanel : public QWidget
{
public:
    /// Both are the caller's and outlive the panel.
    PositionsPanel(CheckoutModel& model, WindowFrontend& frontend);

    void refresh();
    /// Where articles are typed.
    [[nodiscard]] QLineEdit& articleField() const { return *m_article; }
    [[nodiscard]] PositionsTable& table() const { return *m_table; }

protected:
    /// The keys that choose among the goods which were found.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* entryRow();
    QWidget* changesRow();
    void fillFinished();
    void showFound();
    void addFound(const Goods& goods);
    void enterArticle();
    /// Asks for a number and sets it on the selected position.
    void askFor(const tr::Tr& title, const QString& question, const QString& formName,
                void (CheckoutModel::*set)(int posnum, double value));
    void askQuantity();
    void askDiscount();
    void removeSelected();
    /// Says why nothing can be entered or changed now.
    void refuse();

    CheckoutModel& m_model;
    WindowFrontend& m_frontend;
    QStackedWidget* m_pages;
    PositionsTable* m_table;
    Label* m_headline;
    Label* m_details;
    QLineEdit* m_article;
    QPushButton* m_add;
    GoodsSearch* m_found;
    GoodsKeys* m_keys;
    QList<QPushButton*> m_changes;
};

} // namespace till::window
