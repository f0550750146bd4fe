#pragma once

#include <QFrame>
#include <QGridLayout>
#include <QLineEdit>

namespace till::window {

/// Keys on the screen that type digits into a field, for whoever has no others. They leave the focus where
/// it is.
class Keypad : public QFrame
{
public:
    /// `mark`: what may stand among the digits; null: nothing. The field is the caller's and outlives the
    /// keypad.
    Keypad(QLineEdit& field, QChar mark, QWidget* parent = nullptr);

protected:
    [[nodiscard]] QGridLayout& grid() const { return *m_grid; }
    /// Presses the key as the keyboard does.
    void press(int key, const QString& text);

private:
    void add(const QString& text, const QString& name, int row, int column, int key);

    QLineEdit& m_field;
    QGridLayout* m_grid;
};

/// A keypad that a finger on its field opens, and closes with its own key, with Escape, or by going on to
/// something else. It lies over `area`, and the window keeps its size.
class PopupKeypad : public Keypad
{
public:
    /// Field and area are the caller's, and in one window.
    PopupKeypad(QLineEdit& field, QChar mark, QWidget& area);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void open();

    QLineEdit& m_opener;
    QWidget& m_area;
};

} // namespace till::window
