#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace reader {

/// Something on the screen, as a screen reader is told of it.
struct Item
{
    QString role;
    QString name;
    QString description;
    bool focusable = false;
    bool focused = false;
};

/// The cashier's window in a process of its own, seen and used by nothing but AT-SPI and the keys of X.
class Window
{
public:
    /// Waits until it is there.
    explicit Window(const QStringList& options = {});
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// What is on the screen, from the top of the tree downwards.
    [[nodiscard]] QList<Item> items() const;
    /// Waits until something of that name begins so; false: it did not come.
    [[nodiscard]] bool shows(const QString& beginning) const;
    /// Waits until that has the keys.
    [[nodiscard]] bool hasFocus(const QString& name) const;

    void press(unsigned keysym);
    void type(const QString& text);

private:
    QTemporaryDir m_folder;
    QProcess m_till;
};

} // namespace reader
