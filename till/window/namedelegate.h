#pragma once

#include <QStyledItemDelegate>

namespace till::window {

/// What stands between two parts of what is told below a name.
inline const QString partsBelowName = QStringLiteral(" · ");

/// Shows the name of an article on two lines at most, however long it is, and below it what else is to be
/// told: parts with " · " between them, of which none is cut that there is room for on a line of its own.
class NameDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// The lines of that text as they are shown in that width.
    [[nodiscard]] static QStringList fitted(const QString& text, const QFont& font, int width);

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

} // namespace till::window
