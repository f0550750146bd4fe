#include "till/window/mainwindow.h"

#include "host/utils/basicexception.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"
#include "till/setup/keeping.h"
#include "till/window/dialogs/returndialog.h"
#include "till/window/keypad.h"
#include "till/window/status.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QShortcut>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till::window {

namespace {

constexpr qsizetype mostOfALine = 200; // two lines of the window at the largest letters

Scanner::Marks marksOf(const ScanSettings& settings) { return {settings.prefix, settings.suffix}; }

} // namespace

MainWindow::MainWindow(CheckoutModel& model, Waiting& waiting, WindowFrontend& frontend)
    : m_model(model)
    , m_waiting(waiting)
    , m_frontend(frontend)
    , m_listener([this](const Event& event) { hear(event); })
    , m_title(label({}, u"title"_s))
    , m_notice(label({}))
    , m_status(label({}, u"status"_s))
    , m_codes(button(tr::shown(u"windowCodes"_s, u"Коды СМС"_s), u"F11"_s))
    , m_positions(new PositionsPanel(model, frontend))
    , m_side(new SidePanel(model, [this] { m_focus.place(); }))
    , m_totals(new TotalsPanel(model, {[this] { next(); }, [this] { abandon(); }, [this] { giveBack(); }}))
    , m_focus(model, m_positions->articleField(), m_side->customer().pointsField(), m_positions->table())
    , m_scanner(waiting, marksOf(scanSettingsOf(hostObject<Config>())), this)
    , m_scans(model, waiting, scanSettingsOf(hostObject<Config>()))
    , m_upkeep(model, waiting, keepingTimesOf(hostObject<Config>()))
{
    setWindowTitle(tr::shown(u"windowTill"_s, u"Касса"_s));
    auto* desktop = new QWidget;
    desktop->setObjectName(u"desk"_s);
    auto* layout = new QVBoxLayout(desktop);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(trainingBand());
    layout->addWidget(header());
    auto* body = new QVBoxLayout;
    body->setContentsMargins(12, 8, 12, isCompact() ? 4 : 8);
    body->setSpacing(isCompact() ? 6 : 8);
    m_notice->setMinimumHeight(36);
    m_notice->setWordWrap(true);
    body->addWidget(m_notice);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(12);
    columns->addWidget(m_positions, 5);
    auto* right = new QVBoxLayout;
    right->setSpacing(8);
    right->addWidget(m_side, 1);
    right->addWidget(m_totals);
    columns->addLayout(right, 3);
    body->addLayout(columns, 1);
    layout->addLayout(body, 1);
    m_status->setMinimumHeight(32);
    m_status->setWordWrap(true);
    m_status->setAccessibleName(tr::shown(u"windowStatusName"_s, u"Что сейчас работает"_s));
    layout->addWidget(m_status);
    setCentralWidget(desktop);
    layKeypads();
    m_card = new WaitingCard(this);
    m_frontend.setModel(&m_model);

    listen();
    refresh();
    showNotice();
    m_focus.place();
}

void MainWindow::layKeypads()
{
    auto& positions = *m_positions->table().parentWidget();
    new PopupKeypad(m_positions->articleField(), {}, positions);
    new PopupKeypad(m_side->customer().customerField(), u'+', positions);
    new PopupKeypad(m_side->customer().pointsField(), u',', positions);
}

void MainWindow::listen()
{
    m_clock.setInterval(5s);
    connect(&m_clock, &QTimer::timeout, this, [this] {
        if (!m_waiting.underWay())
            refresh();
    });
    m_clock.start();
    connect(&m_model, &CheckoutModel::changed, this, [this] {
        refresh();
        m_focus.place();
    });
    connect(&m_model, &CheckoutModel::noticed, this, [this] { showNotice(); });
    connect(&m_waiting, &Waiting::changed, this, [this] { showWaiting(); });
    const auto tooEarly = [this] {
        ignore(tr::shown(u"windowPressTooEarly"_s, u"Нажатие не принято: подождите ответа"_s));
    };
    connect(&m_waiting, &Waiting::pressIgnored, this, tooEarly);
    connect(&m_scanner, &Scanner::typingIgnored, this, tooEarly);
    connect(&m_scanner, &Scanner::scanned, &m_scans, &Scans::take);
    connect(&m_scans, &Scans::told, m_card, &WaitingCard::showIgnored);
    hostObject<ActivityNotifier>().subscribe(&m_listener);
}

void MainWindow::ignore(const QString& text)
{
    if (!m_waiting.active())
        return m_model.say(Notice::Kind::Bad, text);
    soundRefusal();
    m_card->showIgnored(text);
}

// A dialog is gone, or another program's window.
void MainWindow::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        m_focus.place();
}

QWidget* MainWindow::header()
{
    auto* bar = new QFrame;
    bar->setObjectName(u"header"_s);
    bar->setAttribute(Qt::WA_StyledBackground);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(16, 4, 12, 4);
    bar->setMinimumHeight(54);
    bar->setHidden(isCompact()); // the number of the receipt, and a page that also F11 opens
    layout->addWidget(m_title, 1);
    m_codes->setFocusPolicy(Qt::NoFocus);
    m_codes->setVisible(m_model.till().ownsService());
    layout->addWidget(m_codes);
    connect(m_codes, &QPushButton::clicked, this, [this] { openCodes(); });
    auto* key = new QShortcut(Qt::Key_F11, this);
    connect(key, &QShortcut::activated, this, [this] {
        if (m_model.till().ownsService())
            openCodes();
    });
    return bar;
}

QWidget* MainWindow::trainingBand()
{
    const bool hasService = !m_model.till().ownsService();
    const bool keeps = m_model.till().keepsData();
    auto* band = label(hasService ? tr::shown(u"windowTrainingVolatile"_s,
                                              u"Учебный режим: чеки и очередь пропадут при закрытии"_s)
                       : keeps ? tr::shown(u"windowTraining"_s, u"Учебный режим: баллы ненастоящие"_s)
                               : tr::shown(u"windowTrainingLost"_s,
                                           u"Учебный режим: баллы ненастоящие, чеки пропадут при закрытии"_s),
                       u"training"_s);
    band->setAlignment(Qt::AlignCenter);
    band->setVisible(m_model.isTraining());
    return band;
}

QString MainWindow::waitingText() const { return m_card->text(); }

void MainWindow::refresh()
{
    const auto receipt = m_model.receipt();
    QString title = tr::shown(u"windowFree"_s, u"Касса свободна"_s);
    if (receipt && receipt->getDocumentType() == ReturnReceipt)
        title =
            tr::shown(u"windowReturnOf"_s, u"Возврат по чеку "_s) + receipt->getSaleDocumentId().toString();
    else if (receipt)
        title = tr::shown(u"windowReceipt"_s, u"Чек "_s) + receipt->getIdentifier();
    m_title->setText(shortened(title, 48));
    setWindowTitle(tr::shown(u"windowTitle"_s, u"Касса — "_s) + m_title->text());
    m_positions->refresh();
    m_side->refresh();
    m_totals->refresh();
    const Status status = statusOf(m_model);
    m_status->setText(shortened(status.text, mostOfALine));
    restyle(*m_status, "state",
            status.state == Status::State::Well      ? u"well"_s
            : status.state == Status::State::Warning ? u"warning"_s
                                                     : u"bad"_s);
    showNotice();
}

void MainWindow::showNotice()
{
    Notice notice = m_model.notice();
    if (m_model.state() == State::SpendingUnknown)
        notice = {Notice::Kind::Bad,
                  tr::shown(u"windowAnswerLost"_s,
                            u"Ответ службы потерян: баллы могли списаться. F9 повторит то же списание, "
                            "F8 отменит чек и вернёт баллы"_s)};
    m_notice->setText(shortened(notice.text, mostOfALine));
    m_notice->setToolTip(notice.text);
    const QStringList kinds{u"plain"_s, u"good"_s, u"warning"_s, u"bad"_s};
    restyle(*m_notice, "notice", kinds[static_cast<int>(notice.kind)]);
}

void MainWindow::showWaiting()
{
    if (m_waiting.active())
        m_card->begin();
    else
        m_card->end();
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    m_card->place();
}

void MainWindow::hear(const Event& event)
{
    if (event.getCode() == EActivityListener::BeforeModalDialog)
        m_card->hide();
    if (event.getCode() != EActivityListener::ProcessMessage)
        return;
    m_card->showMessage(event.getArgument(u"message"_s).value<tr::Tr>().shown());
}

void MainWindow::next()
{
    switch (m_model.state()) {
    case State::Idle:
        m_model.openSale();
        m_side->showCustomer();
        break;
    case State::SpendingUnknown:
        m_model.spend(0);
        break;
    default:
        m_model.pay();
        break;
    }
}

void MainWindow::abandon()
{
    const bool isReturn = m_model.isReturn();
    const bool spent = m_model.checkout().hasSpentPoints() || m_model.state() == State::SpendingUnknown;
    const QString text = spent ? tr::shown(u"windowPointsComeBack"_s,
                                           u"Списанные баллы вернутся покупателю, чек будет забыт."_s)
                               : tr::shown(u"windowForgetAll"_s, u"Всё, что в нём набрано, будет забыто."_s);
    if (m_frontend.confirm(isReturn ? tr::shown(u"windowKeepGoodsTitle"_s, u"Не возвращать?"_s)
                                    : tr::shown(u"windowAbandonTitle"_s, u"Отменить чек?"_s),
                           text,
                           isReturn ? tr::shown(u"windowKeepGoods"_s, u"Не возвращать"_s)
                                    : tr::shown(u"windowAbandon"_s, u"Отменить чек"_s),
                           tr::shown(u"windowKeep"_s, u"Оставить"_s)))
        m_model.abandon();
}

void MainWindow::giveBack()
{
    ReturnDialog dialog(m_model, this);
    if (dialog.exec() == QDialog::Accepted)
        m_model.openReturn(dialog.sale(), dialog.lines());
}

void MainWindow::openCodes()
{
    const QString page = m_model.till().serviceUrl() + u"stand/"_s;
    if (QDesktopServices::openUrl(QUrl(page)))
        m_model.say(Notice::Kind::Plain,
                    tr::shown(u"windowPageOpened"_s, u"Страница с кодами открыта: "_s) + page);
    else
        m_model.say(Notice::Kind::Warning, tr::shown(u"windowOpenPage"_s, u"Откройте в браузере: "_s) + page);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (m_waiting.underWay()) {
        ignore(tr::shown(u"windowCloseTooEarly"_s, u"Закрыть нельзя: идёт обращение к службе"_s));
        event->ignore();
        return;
    }
    const QString question = closingQuestion();
    event->setAccepted(question.isEmpty() ||
                       m_frontend.confirm(tr::shown(u"windowCloseTillTitle"_s, u"Закрыть кассу?"_s), question,
                                          tr::shown(u"windowCloseTill"_s, u"Закрыть кассу"_s),
                                          tr::shown(u"windowStay"_s, u"Остаться"_s)));
}

QString MainWindow::closingQuestion()
{
    const bool keeps = m_model.till().keepsData();
    const auto receipt = m_model.receipt();
    QStringList words;
    if (receipt && !receipt->getGoodsItems().isEmpty())
        words.append(
            (keeps ? tr::shown(u"windowReceiptKept"_s,
                               u"Чек %1 не закрыт. Он сохранён и откроется сам при следующем запуске."_s)
                   : tr::shown(u"windowReceiptLost"_s,
                               u"Чек %1 не закрыт и пропадёт: касса ничего не хранит."_s))
                .arg(shortened(receipt->getIdentifier(), 48)));
    if (keeps)
        return words.join(u'\n');
    try {
        const int unsent = m_model.till().queue().waitingCount() + m_model.till().queue().parkedCount();
        if (unsent > 0)
            words.append(
                tr::shown(u"windowUnsentLost"_s,
                          u"Не отправлено службе сообщений: %1. Они пропадут, и с ними начисленные баллы."_s)
                    .arg(unsent));
    } catch (const BasicException& failure) {
        words.append(
            tr::shown(u"windowQueueUnread"_s, u"Очередь не читается: %1"_s).arg(failure.tr().shown()));
    }
    return words.join(u'\n');
}

} // namespace till::window
