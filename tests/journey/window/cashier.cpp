#include "tests/journey/window/cashier.h"

#include "host/network/restclient.h"
#include "till/setup/settings.h"
#include "till/window/sound.h"
#include "till/window/style.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QTableWidget>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace windowtest {

namespace {

constexpr quint64 aPerson = 120; // milliseconds from one key to the next
constexpr quint64 aScanner = 8;

} // namespace

PaintProbe::PaintProbe(QWidget* parent)
    : QWidget(parent)
{
    resize(1, 1);
    m_timer.setInterval(4);
    connect(&m_timer, &QTimer::timeout, this, [this] { update(); });
    m_timer.start();
    m_clock.start();
    show();
}

qint64 PaintProbe::takeLongest() { return std::exchange(m_longest, 0); }

void PaintProbe::paintEvent(QPaintEvent* /*event*/)
{
    m_longest = std::max(m_longest, m_clock.restart());
    ++m_paintings;
}

bool Keyboard::eventFilter(QObject* watched, QEvent* event)
{
    if (watched->isWindowType() && (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease))
        static_cast<QKeyEvent*>(event)->setTimestamp(m_now);
    return QObject::eventFilter(watched, event);
}

Cashier::Cashier()
    : Cashier(Setup{})
{}

Cashier::Cashier(const Setup& setup)
    : m_directory(setup.dataDirectory.isEmpty() ? m_ownDirectory.path() : setup.dataDirectory)
    , m_catalogue(setup.goods, setup.weightPrefixes.split(u',', Qt::SkipEmptyParts))
{
    till::window::applyStyle(*qApp, till::window::fittingScale(setup.scale, setup.size));
    Config config = till::loadSettings({});
    config.set(u"KYRLoyalty:smsVerification"_s, setup.smsVerification);
    config.set(u"KYRLoyalty:timeout"_s, setup.timeout);
    config.set(u"KYRLoyalty:bonusRatio"_s, setup.bonusRatio);
    config.set(u"Till:language"_s, setup.language);
    config.set(u"Till:scanPrefix"_s, setup.scanPrefix);
    config.set(u"Till:scanSuffix"_s, setup.scanSuffix);
    config.set(u"Till:cardPrefixes"_s, setup.cardPrefixes);
    config.set(u"Till:weightPrefixes"_s, setup.weightPrefixes);
    if (!setup.serverUrl.isEmpty()) {
        till::setServerUrl(config, setup.serverUrl);
        config.set(u"KYRLoyalty:user"_s, u"shop"_s); // as a stand of the tests knows it
        config.set(u"KYRLoyalty:password"_s, u"secret-of-the-shop"_s);
    }
    m_waiting = std::make_unique<till::window::Waiting>();
    m_watch = std::make_unique<till::window::ServiceWatch>();
    m_frontend = std::make_unique<till::window::WindowFrontend>(*m_waiting);
    const till::Parts parts{QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM),
                            setup.keeps ? m_directory : QString()};
    m_till = std::make_unique<till::Till>(parts, config, *m_frontend);
    m_model = std::make_unique<till::window::CheckoutModel>(*m_till, *m_waiting, *m_watch, m_catalogue);
    m_window = std::make_unique<till::window::MainWindow>(*m_model, *m_waiting, *m_frontend);
    m_frontend->setParent(m_window.get());
    m_window->resize(setup.size);
    m_window->show();
    m_window->activateWindow();
    if (!QTest::qWaitForWindowActive(m_window.get()))
        throw std::runtime_error("the window does not become active");
    qApp->installEventFilter(&m_keyboard); // last, so that it is asked first
    till::window::setRefusalSound([this] { ++m_beeps; });
    m_probe = new PaintProbe(m_window.get());
    pump();
    m_probe->takeLongest();
}

Cashier::~Cashier() { till::window::setRefusalSound({}); }

void Cashier::pump()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// Offscreen there is no window manager to give the focus back when a dialog is gone.
QWindow* Cashier::focused()
{
    if (!QGuiApplication::focusWindow() && !QApplication::activeModalWidget()) {
        m_window->activateWindow();
        pump();
    }
    return QGuiApplication::focusWindow();
}

// QTest::keyClick knows no Cyrillic; this way a key comes in as the window system's own do, with its text.
void Cashier::send(QEvent::Type type, int key, Qt::KeyboardModifiers modifiers, const QString& text)
{
    QWindow* target = focused();
    ASSERT_TRUE(target) << "no window has the focus";
    qt_handleKeyEvent(target, type, key, modifiers, text);
}

void Cashier::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const QString text = key == Qt::Key_Return ? u"\r"_s : QString();
    ++m_keys;
    m_keyboard.pass(aPerson);
    send(QEvent::KeyPress, key, modifiers, text);
    send(QEvent::KeyRelease, key, modifiers, text);
    pump();
}

void Cashier::type(const QString& text)
{
    for (const QChar c : text) {
        ++m_keys;
        m_keyboard.pass(aPerson);
        typeFast(c);
    }
    const auto* scanner = m_window->findChild<till::window::Scanner*>();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !scanner->isUndecided(); })) << "characters are kept";
    pump();
}

void Cashier::typeFast(const QString& text)
{
    for (const QChar c : text) {
        const bool isSeparator = c == QChar(0x1D);
        const int key = isSeparator   ? int(Qt::Key_BracketRight)
                        : c.isDigit() ? Qt::Key_0 + c.digitValue()
                                      : c.toUpper().unicode();
        const auto modifiers = isSeparator ? Qt::ControlModifier : Qt::NoModifier;
        m_keyboard.pass(aScanner);
        send(QEvent::KeyPress, key, modifiers, c);
        send(QEvent::KeyRelease, key, modifiers, c);
    }
}

void Cashier::scan(const QString& code, Qt::Key end)
{
    m_keyboard.pass(aPerson);
    typeFast(code);
    m_keyboard.pass(aScanner);
    send(QEvent::KeyPress, end, Qt::NoModifier, u"\r"_s);
    send(QEvent::KeyRelease, end, Qt::NoModifier, u"\r"_s);
    pump();
}

QString Cashier::focus()
{
    static_cast<void>(focused());
    const QWidget* widget = QApplication::focusWidget();
    return widget ? widget->accessibleName() : u"nothing"_s;
}

QWidget* Cashier::control(const QString& name)
{
    QWidget* active = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : m_window.get();
    for (QWidget* widget : active->findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<QAbstractButton*>(widget) || qobject_cast<QLineEdit*>(widget);
        if (isControl && widget->isVisible() && widget->accessibleName() == name)
            return widget;
    }
    return nullptr;
}

void Cashier::touch(const QString& name)
{
    const QWidget* target = control(name);
    ASSERT_TRUE(target) << "nothing to touch: " << name.toStdString();
    const QPoint at = target->mapTo(target->window(), target->rect().center());
    ASSERT_EQ(target->window()->childAt(at), target) << name.toStdString() << " is covered";
    QTest::mouseClick(target->window()->windowHandle(), Qt::LeftButton, {}, at);
    pump();
}

void Cashier::touchRow(QTableWidget& table, int row)
{
    const QPoint at = table.visualItemRect(table.item(row, 0)).center();
    QTest::mouseClick(m_window->windowHandle(), Qt::LeftButton, {},
                      table.viewport()->mapTo(m_window.get(), at));
    pump();
}

void Cashier::once(const std::function<bool()>& isSo, const std::function<void()>& act)
{
    auto* timer = new QTimer(m_window.get());
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, m_window.get(), [timer, isSo, act] {
        if (!isSo())
            return;
        timer->stop();
        timer->deleteLater();
        act();
    });
    timer->start();
}

void Cashier::atDialog(const std::function<void(QDialog&)>& act)
{
    const auto dialog = [] { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); };
    once([dialog] { return dialog() && dialog()->isActiveWindow(); },
         [this, dialog, act] {
             ++m_dialogs;
             act(*dialog());
         });
}

void Cashier::atRequest(const std::function<void()>& act)
{
    once([this] { return !m_window->waitingText().isEmpty(); },
         [this, act] {
             ++m_requests;
             act();
         });
}

void Cashier::sell(const QString& card)
{
    press(Qt::Key_F9); // a new receipt
    for (const QString& article : {u"4601"_s, u"4607"_s}) {
        press(Qt::Key_F2);
        type(article);
        press(Qt::Key_Return);
    }
    if (!card.isEmpty())
        identify(card);
}

void Cashier::identify(const QString& number)
{
    press(Qt::Key_F3);
    type(number);
    press(Qt::Key_Return);
}

void Cashier::spend(const QString& points)
{
    press(Qt::Key_F7);
    type(points);
    press(Qt::Key_Return);
}

void Cashier::loseTheNextSpending() { spoilTheNext(u"force-payment-c2b"_s, R"("fault":"apply-then-drop")"); }

void Cashier::spoilTheNext(const QString& operation, const QByteArray& fault)
{
    RestClient client;
    client.post(QUrl(m_till->serviceUrl() + u"stand/faults"_s),
                R"({"operation":"POST /v2/partner/operation/)" + operation.toUtf8() + R"(",)" + fault + "}",
                {});
    ASSERT_EQ(client.getErrorCode(), 0) << client.getResponse().toString().toStdString();
}

namespace {

/// As people read it: a place where a line may end is none of its letters.
QString asRead(const QLabel& label) { return label.text().remove(QChar(0x200B)); }

} // namespace

QString Cashier::notice() const
{
    for (const QLabel* label : m_window->findChildren<QLabel*>()) {
        if (label->property("notice").isValid())
            return asRead(*label);
    }
    return {};
}

QString Cashier::status() const
{
    for (const QLabel* label : m_window->findChildren<QLabel*>()) {
        if (label->property("role") == u"status"_s)
            return asRead(*label);
    }
    return {};
}

QStringList Cashier::buttons() const
{
    QStringList texts;
    for (const auto* button : m_window->findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            texts.append(button->text());
    }
    return texts;
}

QString Cashier::screen() const
{
    QStringList texts;
    for (const QLabel* label : m_window->findChildren<QLabel*>()) {
        if (label->isVisible())
            texts.append(asRead(*label));
    }
    for (const QTableWidget* table : m_window->findChildren<QTableWidget*>()) {
        for (int row = 0; table->isVisible() && row < table->rowCount(); ++row) {
            for (int column = 0; column < table->columnCount(); ++column)
                texts.append(table->item(row, column)->text());
        }
    }
    return texts.join(u'\n');
}

std::string linesOf(Cashier& cashier, const QString& name)
{
    QStringList lines;
    for (const auto* list : cashier.window().findChildren<QListWidget*>()) {
        for (int i = 0; list->isVisible() && list->accessibleName() == name && i < list->count(); ++i)
            lines.append(list->item(i)->text());
    }
    return lines.join(u'\n').toStdString();
}

std::string wordsOf(const QDialog& dialog)
{
    QStringList words;
    for (const auto* label : dialog.findChildren<QLabel*>())
        words.append(label->text());
    return words.join(u'\n').toStdString();
}

void picture(QWidget& widget, const QString& name)
{
    const QPixmap shot = widget.grab();
    EXPECT_FALSE(shot.isNull());
    const QString folder = qEnvironmentVariable("PICTURES");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(shot.save(folder + u'/' + name + u".png"_s));
    }
}

} // namespace windowtest
