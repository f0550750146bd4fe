#include "host/queue/deliveryworker.h"
#include "till/audit/livetrace.h"
#include "till/audit/recording.h"
#include "till/checkout/deliverynow.h"
#include "till/cli/usageerror.h"
#include "till/goods/demonstration.h"
#include "till/goods/goodsfile.h"
#include "till/setup/hostobjects.h"
#include "till/setup/parts.h"
#include "till/setup/reloading.h"
#include "till/setup/settings.h"
#include "till/setup/stopsignals.h"
#include "till/window/checkoutmodel.h"
#include "till/window/commands.h"
#include "till/window/customerdisplay.h"
#include "till/window/losses.h"
#include "till/window/mainwindow.h"
#include "till/window/style.h"

#include <QApplication>
#include <QFontInfo>
#include <QScreen>
#include <QSocketNotifier>
#include <QTextStream>

#include <array>
#include <optional>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Whether Qt can open the display: it ends a program that it finds none for, so another one tries. Called
/// before there is a second thread.
bool canOpenDisplay()
{
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDERR_FILENO);
        int count = 1;
        QByteArray name = "till"_ba;
        std::array<char*, 2> arguments{name.data(), nullptr};
        const QGuiApplication application(count, arguments.data());
        _exit(0);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Says what to do when there is nothing to show the window on.
void requireDisplay()
{
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    const bool isNamed =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    const bool needsNone =
        !platform.isEmpty() && !platform.startsWith(u"xcb") && !platform.startsWith(u"wayland");
    if (needsNone || (isNamed && canOpenDisplay()))
        return;
    const QString why =
        isNamed ? u"the display cannot be opened (DISPLAY is \"%1\", WAYLAND_DISPLAY is \"%2\")"_s.arg(
                      qEnvironmentVariable("DISPLAY"), qEnvironmentVariable("WAYLAND_DISPLAY"))
                : u"there is no display (neither DISPLAY nor WAYLAND_DISPLAY is set)"_s;
    throw UsageError(
        u"till: window: %1. Start it in a desktop session, or on a virtual display: xvfb-run till window; or "
        "let a VNC viewer on port 5900 show it: QT_QPA_PLATFORM=vnc till window. Pictures of it are in "
        "docs/pictures"_s.arg(why));
}

int scaleOf(const Invocation& invocation)
{
    const int percent = invocation.number(u"scale"_s, window::leastScale);
    if (percent < window::leastScale || percent > window::mostScale)
        throw UsageError(
            u"till: window: --scale: expected a percentage from 100 to 200; see till window --help"_s);
    return percent;
}

Catalogue catalogueOf(const QString& fileName, const QStringList& weightPrefixes)
{
    if (fileName.isEmpty())
        return Catalogue(demonstrationGoods(), weightPrefixes);
    GoodsReading reading = readGoodsFile(fileName);
    if (!reading.problems.isEmpty())
        throw UsageError(problemsText(fileName, reading));
    return Catalogue(std::move(reading.goods), weightPrefixes);
}

/// The first three of the goods, of the first two pieces.
QList<Line> demonstration(const Catalogue& catalogue)
{
    QList<Line> lines;
    for (const Goods& goods : catalogue.goods().first(std::min<qsizetype>(3, catalogue.goods().size())))
        lines.append({.articul = goods.articul,
                      .name = goods.name,
                      .price = goods.price,
                      .quantity = lines.isEmpty() ? 2.0 : 1.0});
    return lines;
}

int run(const Invocation& invocation)
{
    const int scale = scaleOf(invocation);
    requireDisplay();
    Options options = invocation.options;
    const Config config = settingsOf(options);
    if (options.dataDirectory.isEmpty() && namesService(config))
        options.dataDirectory = usualDataDirectory(); // what real money hangs on outlives the window
    const QString namedGoods = invocation.own.value(u"goods"_s);
    const Catalogue catalogue = catalogueOf(namedGoods.isEmpty() ? goodsFileOf(config, options) : namedGoods,
                                            scanSettingsOf(config).weightPrefixes);
    int count = 1;
    QByteArray name = "till"_ba;
    std::array<char*, 2> arguments{name.data(), nullptr};
    QApplication application(count, arguments.data());
    const StopSignals signals;
    const ReloadSignals reloads;
    // Dialogs end too, without a question: the open receipt is kept anyway.
    const QSocketNotifier stop(signals.descriptor(), QSocketNotifier::Read);
    QObject::connect(&stop, &QSocketNotifier::activated, &application, [] { QCoreApplication::exit(0); });
    const int fitting =
        window::fittingScale(scale, QGuiApplication::primaryScreen()->availableGeometry().size());
    window::applyStyle(application, fitting);
    if (fitting < scale)
        QTextStream(stderr) << u"till: window: letters at %1 %: the screen has no room for %2 %\n"_s.arg(
            QString::number(fitting), QString::number(scale));

    const LogFile logFile(options.logFile, fileLevel(options));
    const LiveTrace trace(screenLevel(options, LogLevel::Warning));
    warnOfExposure(options);
    const QSocketNotifier reload(reloads.descriptor(), QSocketNotifier::Read);
    QObject::connect(&reload, &QSocketNotifier::activated, &application, [&] {
        if (reloads.take())
            reloadSettings(invocation.options, [](const Options& anew, const Config& /*of the receipts*/) {
                LogFile::reopen(anew.logFile, fileLevel(anew));
            });
    });
    const Recording recording(invocation.own.value(u"record"_s));
    window::Waiting waiting;
    window::ServiceWatch watch;
    window::WindowFrontend frontend(waiting);
    Till till(partsOf(options), config, frontend);
    std::optional<DeliveryWorker> worker;
    worker.emplace(workerOptions(hostObject<Config>()));
    window::CheckoutModel model(till, waiting, watch, catalogue);
    window::MainWindow view(model, waiting, frontend);
    frontend.setParent(&view);
    view.resize(window::roomFor(fitting));
    view.show();
    view.activateWindow(); // where no window manager does
    std::optional<window::CustomerDisplay> display;
    if (invocation.has(u"customer-display"_s))
        display.emplace(model, waiting).showBeside(view);
    if (!till.checkout().receipt())
        model.openSale(invocation.has(u"demo"_s) ? demonstration(catalogue) : QList<Line>());
    const int status = QApplication::exec();
    worker.reset(); // what it has in hand is not lost
    const QString lost = signals.wait({}) ? window::lossText(till) : QString(); // else a question was asked
    if (!lost.isEmpty())
        QTextStream(stderr) << u"till: window: "_s << lost << u'\n';
    return status;
}

} // namespace

Command windowCommand()
{
    return {
        .name = u"window"_s,
        .about = u"Open the cashier's window."_s,
        .details =
            u"Sells, spends and earns points, takes goods back; by keyboard alone or by touch, from\n"
            "1024 x 768 pixels on. Each key is shown on its button. Where nobody names a loyalty service,\n"
            "the stand is started, and it is training. A receipt that was left open is found again in the\n"
            "data directory; with a service, that is by default where the tools look, else one of the moment."_s,
        .options = {{u"customer-display"_s, {}, u"Show the customer a window of their own."_s},
                    {u"demo"_s, {}, u"Begin with a few goods on the receipt."_s},
                    {u"goods"_s, u"FILE"_s, u"What is sold, as CSV, instead of Till:goods."_s},
                    {u"scale"_s, u"PERCENT"_s,
                     u"Size of the letters, 100 to 200, where the screen has room."_s},
                    recordOption()},
        .examples = {{u"till window --demo"_s, u"a receipt ready to try"_s},
                     {u"till window --data-dir till-1 --scale 125"_s,
                      u"one that goes on, in larger letters"_s}},
        .statuses = {{0, u"the window was closed"_s},
                     {2, u"wrong usage, no display, or a file, the plug-in or the stand cannot be used"_s}},
        .run = run,
        .graphical = true};
}

} // namespace till
