#pragma once

#include "till/window/widgets.h"

#include <QDialog>
#include <QVBoxLayout>

namespace till::window {

/// A dialog of the window. It answers to the cashier alone: what is scanned meanwhile is no answer.
class Question : public QDialog
{
    Q_OBJECT

public:
    /// The title stands in the frame and above what is put into column().
    Question(const QString& title, QWidget* parent);

    [[nodiscard]] QVBoxLayout& column() { return *m_column; }
    /// What is said of a scan, in place of the usual.
    void setScanRefusal(const QString& text) { m_scanRefusal = text; }
    /// Says that a scan was not taken.
    void refuseScan() { refuse(m_scanRefusal); }
    /// Says that something was not taken.
    void refuse(const QString& text);

private:
    QVBoxLayout* m_column;
    Label* m_title;
    QString m_scanRefusal;
};

} // namespace till::window
