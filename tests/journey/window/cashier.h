#pragma once

#include "till/goods/demonstration.h"
#include "till/window/checkoutmodel.h"
#include "till/window/mainwindow.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <gmock/gmock.h>

#include <functional>
#include <memory>

namespace windowtest {

/// How long painting was held up: a spot in the corner of the window that is painted again and again.
class PaintProbe : public QWidget
{
public:
    explicit PaintProbe(QWidget* parent);

    /// The longest time between two paintings since the last call, in milliseconds.
    qint64 takeLongest();
    [[nodiscard]] int paintings() const { return m_paintings; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QElapsedTimer m_clock;
    QTimer m_timer;
    qint64 m_longest = 0;
    int m_paintings = 0;
};

/// Says when each key was pressed, as the window system does: tests then depend on no clock.
class Keyboard : public QObject
{
public:
    void pass(quint64 milliseconds) { m_now += milliseconds; }
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    quint64 m_now = 1;
};

/// A cashier at the window of a till with the real plug-in and a stand of its own. Keys and clicks come in as
/// from the screen, through Qt's queue of the window system.
class Cashier
{
public:
    struct Setup
    {
        bool smsVerification = false;
        int timeout = 5;
        int scale = 100; ///< that is asked for; the window gets what its size has room for
        QSize size = {1024, 768};
        QString language = {};
        QString serverUrl = {};
        QString dataDirectory = {};
        bool keeps = true; ///< false: nobody names a data directory
        QString bonusRatio = QStringLiteral("1:1");
        QString scanPrefix = {};
        QString scanSuffix = {};
        QString cardPrefixes = QStringLiteral("2000");
        QString weightPrefixes = {};
        QList<till::Goods> goods = till::demonstrationGoods();
    };
    explicit Cashier(const Setup& setup);
    Cashier();
    ~Cashier();

    [[nodiscard]] till::Till& till() { return *m_till; }
    [[nodiscard]] till::Checkout& checkout() { return m_till->checkout(); }
    [[nodiscard]] till::window::CheckoutModel& model() { return *m_model; }
    [[nodiscard]] till::window::WindowFrontend& frontend() { return *m_frontend; }
    [[nodiscard]] till::window::MainWindow& window() { return *m_window; }
    [[nodiscard]] till::window::Waiting& waiting() { return *m_waiting; }
    [[nodiscard]] PaintProbe& probe() { return *m_probe; }
    [[nodiscard]] QString directory() const { return m_directory; }

    /// Types the text into whatever has the focus, as people do.
    void type(const QString& text);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// The button or field with that accessible name in the active window, or null when there is none to be
    /// seen.
    [[nodiscard]] QWidget* control(const QString& name);
    /// A finger on it.
    void touch(const QString& name);
    /// How many keys were pressed since the last call; a scanner's are not counted.
    int takeKeys() { return std::exchange(m_keys, 0); }
    /// A finger on that row.
    void touchRow(QTableWidget& table, int row);
    /// A code as the scanner types it: fast, and with Enter at its end. U+001D stands in a marking code.
    void scan(const QString& code, Qt::Key end = Qt::Key_Return);
    /// Types as scan() does, without an end.
    void typeFast(const QString& text);
    /// How often there was the sound of something that was not taken, since the last call.
    int takeBeeps() { return std::exchange(m_beeps, 0); }
    /// The accessible name of what has the keys.
    [[nodiscard]] QString focus();
    /// What is done when the next dialog is open; it is given the dialog.
    void atDialog(const std::function<void(QDialog&)>& act);
    /// What is done once the screen says that a request is under way.
    void atRequest(const std::function<void()>& act);

    /// A sale of two articles; with the card when one is named.
    void sell(const QString& card = {});

    /// Types the number of a card or phone where the customer is asked for, by keys.
    void identify(const QString& number);

    /// Has so many points spent, by keys.
    void spend(const QString& points);

    /// The stand's next call of the operation ("payment-b2c") goes wrong, as its page of faults describes it.
    void spoilTheNext(const QString& operation, const QByteArray& fault);
    /// The stand does what the next spending asks, and its answer is lost on the way.
    void loseTheNextSpending();

    [[nodiscard]] QString notice() const;
    [[nodiscard]] QString status() const;
    /// All texts of labels, buttons and cells that are on the screen.
    [[nodiscard]] QString screen() const;
    /// The texts of the buttons that are on the screen.
    [[nodiscard]] QStringList buttons() const;
    /// How many dialogs were answered.
    [[nodiscard]] int dialogs() const { return m_dialogs; }
    /// In how many requests something was done.
    [[nodiscard]] int requests() const { return m_requests; }

private:
    void pump();
    void once(const std::function<bool()>& isSo, const std::function<void()>& act);
    void send(QEvent::Type type, int key, Qt::KeyboardModifiers modifiers, const QString& text);
    /// The window that keys go to.
    [[nodiscard]] QWindow* focused();

    QTemporaryDir m_ownDirectory;
    QString m_directory;
    std::unique_ptr<till::window::Waiting> m_waiting;
    std::unique_ptr<till::window::ServiceWatch> m_watch;
    std::unique_ptr<till::window::WindowFrontend> m_frontend;
    std::unique_ptr<till::Till> m_till;
    till::Catalogue m_catalogue;
    std::unique_ptr<till::window::CheckoutModel> m_model;
    std::unique_ptr<till::window::MainWindow> m_window;
    PaintProbe* m_probe = nullptr;
    Keyboard m_keyboard;
    int m_dialogs = 0;
    int m_requests = 0;
    int m_keys = 0;
    int m_beeps = 0;
};

/// The lines of the list with that name, when it is on the screen.
std::string linesOf(Cashier& cashier, const QString& name);
/// All that the dialog says.
std::string wordsOf(const QDialog& dialog);

/// Renders the widget; keeps it in the folder that PICTURES names, when it does.
void picture(QWidget& widget, const QString& name);

} // namespace windowtest
