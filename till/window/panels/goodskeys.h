#pragma once

#include "till/goods/catalogue.h"

#include <QPushButton>
#include <QWidget>

#include <functional>

namespace till::window {

/// The goods that have a button, each in its place. Names shorten as the window does, and never widen it.
class GoodsKeys : public QWidget
{
    Q_OBJECT

public:
    /// The catalogue is the caller's and outlives this.
    GoodsKeys(const Catalogue& catalogue, const std::function<void(const Goods&)>& chosen);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Key
    {
        QPushButton* button;
        const Goods* goods;
    };

    QList<Key> m_keys;
};

} // namespace till::window
