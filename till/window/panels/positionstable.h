#pragma once

#include "host/core/document.h"

#include <QTableWidget>

namespace till::window {

/// The goods of a receipt, one row each; the cashier chooses one of them.
class PositionsTable : public QTableWidget
{
    Q_OBJECT

public:
    PositionsTable();

    /// The chosen row stays; when goods were added, it is the last. Null: there is no receipt.
    void fill(const QSharedPointer<Document>& receipt);
    /// The number of the chosen position; 0: there is none.
    [[nodiscard]] int selected() const;
    /// Characters find no row here: whoever types them means a field.
    void keyboardSearch(const QString& /*search*/) override { Q_EMIT typed(); }

Q_SIGNALS:
    void typed();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    /// Hides what columns the numbers leave no room for; that stands below the names then.
    void makeRoom();
    [[nodiscard]] QString belowName(const GoodsItem& item) const;

    QSharedPointer<Document> m_receipt;
};

} // namespace till::window
