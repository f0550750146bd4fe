#pragma once

#include "host/core/document.h"

#include <QTableWidget>

namespace till::window {

/// The goods of a receipt, one row each; the cashier chooses one of them.
class PositionsTable : public QTableWidget
{
public:
    PositionsTable();

    /// The chosen row stays; when goods were added, it is the last.
    void fill(const Document& receipt);
    /// The number of the chosen position; 0: there is none.
    [[nodiscard]] int selected() const;
};

} // namespace till::window
