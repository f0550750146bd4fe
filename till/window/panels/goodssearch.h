#pragma once

#include "till/goods/catalogue.h"

#include <QTableWidget>

namespace till::window {

/// The goods whose names hold what is typed, to be chosen by arrows, which come from the field where it is
/// typed, or by touch. Shown as long as there are some.
class GoodsSearch : public QTableWidget
{
    Q_OBJECT

public:
    /// The catalogue is the caller's and outlives this.
    explicit GoodsSearch(const Catalogue& catalogue);

    /// Of digits alone, of what is an article otherwise, and of an empty text there is nothing.
    void search(const QString& text);
    /// The one that was chosen by arrows, else the only one; null: there is none, or the choice is open.
    [[nodiscard]] const Goods* chosen() const;

Q_SIGNALS:
    /// A finger chose one.
    void touched(const till::Goods& goods);

private:
    void showFound(bool isCut);

    const Catalogue& m_catalogue;
    QList<const Goods*> m_found;
};

} // namespace till::window
