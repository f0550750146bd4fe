#pragma once

#include "host/core/activitynotifier.h"
#include "till/window/checkoutmodel.h"
#include "till/window/focus.h"
#include "till/window/frontend.h"
#include "till/window/panels/positionspanel.h"
#include "till/window/panels/sidepanel.h"
#include "till/window/panels/totalspanel.h"
#include "till/window/panels/waitingcard.h"
#include "till/window/scanner.h"
#include "till/window/scans.h"
#include "till/window/upkeep.h"
#include "till/window/widgets.h"

#include <QMainWindow>
#include <QTimer>

namespace till::window {

/// Hears the plug-in's messages for the window.
class MessageListener : public BaseActivityListener
{
public:
    explicit MessageListener(std::function<void(const Event&)> hear)
        : m_hear(std::move(hear))
    {}
    void handleEvent(const Event& event) override { m_hear(event); }

private:
    std::function<void(const Event&)> m_hear;
};

/// The cashier's window.
class MainWindow : public QMainWindow
{
public:
    /// All are the caller's and outlive the window.
    MainWindow(CheckoutModel& model, Waiting& waiting, WindowFrontend& frontend);

    /// What the card over the window says while a request runs; empty: it is not shown.
    [[nodiscard]] QString waitingText() const;
    [[nodiscard]] Upkeep& upkeep() { return m_upkeep; }

protected:
    /// Not in the middle of a request; with goods on the receipt, after a word on where it stays.
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* header();
    QWidget* trainingBand();
    /// What is lost when the window closes now; empty: nothing, and no receipt is open either.
    [[nodiscard]] QString closingQuestion();
    /// Keys for fingers, over the positions: total and pay button stay in sight.
    void layKeypads();
    void listen();
    /// What was pressed or typed is not taken.
    void ignore(const QString& text);
    void refresh();
    void showNotice();
    void showWaiting();
    void hear(const Event& event);
    void next();
    void abandon();
    void giveBack();
    void openCodes();

    CheckoutModel& m_model;
    Waiting& m_waiting;
    WindowFrontend& m_frontend;
    MessageListener m_listener;
    Label* m_title;
    Label* m_notice;
    Label* m_status;
    QPushButton* m_codes;
    PositionsPanel* m_positions;
    SidePanel* m_side;
    TotalsPanel* m_totals;
    WaitingCard* m_card;
    Focus m_focus;
    Scanner m_scanner;
    Scans m_scans;
    QTimer m_clock;
    Upkeep m_upkeep;
};

} // namespace till::window
