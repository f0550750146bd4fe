#pragma once

#include <QStyledItemDelegate>

namespace till::window {

/// Shows the name of an article on two lines at most, however long it is, and what stands below it on one.
class NameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

} // namespace till::window
