#include "tests/journey/window/cashier.h"

#include "tests/journey/window/scanbook.h"
#include "tests/support/stillclock.h"
#include "till/audit/summary.h"

#include <QApplication>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace windowtest {

namespace {

/// What goes wrong while a receipt is open, or what the scanner meets.
enum class Trouble {
    None,
    Dialog,  ///< the scanner goes on while the window asks something
    Slow,    ///< or while a request runs
    Lost,    ///< the answer to a spending
    Failing, ///< the service answers that it can't
    Away,    ///< there is no service from some moment on
};
const QList<Trouble> troubles{Trouble::None, Trouble::Dialog,  Trouble::Slow,
                              Trouble::Lost, Trouble::Failing, Trouble::Away};

const QStringList goodCards{u"2000000000017"_s, u"2000000000024"_s, u"2000000000031"_s, u"2000000000055"_s};
/// Blocked, nobody's yet, not filled in, and one that the service does not know.
const QStringList oddCards{u"2000000000048"_s, u"2000000000062"_s, u"2000000000079"_s, u"2000000000999"_s};

unsigned numberFrom(const char* variable, unsigned usual)
{
    bool isNumber = false;
    const unsigned number = qEnvironmentVariable(variable).toUInt(&isNumber);
    return isNumber ? number : usual;
}

/// Does something once, as soon as the moment has come, if it comes while this lives.
class AtOnce
{
public:
    AtOnce(std::function<bool()> hasCome, std::function<void()> act)
    {
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this, hasCome = std::move(hasCome), act = std::move(act)] {
                             if (!hasCome())
                                 return;
                             m_timer.stop();
                             m_isDone = true;
                             act();
                         });
        m_timer.start();
    }
    [[nodiscard]] bool isDone() const { return m_isDone; }

private:
    QTimer m_timer;
    bool m_isDone = false;
};

QDialog* openDialog()
{
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    return dialog && dialog->isActiveWindow() ? dialog : nullptr;
}

bool isDialogOpen() { return openDialog() != nullptr; }

/// A cashier who scans all day.
class Day
{
public:
    Day(Cashier& cashier, bool hasCodes, unsigned seed)
        : m_cashier(cashier)
        , m_book(cashier)
        , m_spending(hasCodes ? u"confirm-payment-c2b"_s : u"force-payment-c2b"_s)
        , m_random(seed)
    {}

    void serve(Trouble trouble);
    [[nodiscard]] ScanBook& book() { return m_book; }
    [[nodiscard]] std::mt19937& random() { return m_random; }

private:
    [[nodiscard]] int below(int most) { return static_cast<int>(m_random() % static_cast<unsigned>(most)); }
    [[nodiscard]] bool isOneOf(int many) { return below(many) == 0; }
    [[nodiscard]] const QString& oneOf(const QStringList& list) { return list[below(int(list.size()))]; }
    [[nodiscard]] till::Goods someGoods();
    [[nodiscard]] QString codeOf(const till::Goods& goods);
    void scanGoods();
    void identify();
    void spend();
    void confirmSpending(const std::function<void()>& begin);
    void ask(Qt::Key key, const std::function<void(QDialog&)>& answer);
    /// Presses, and while that request runs scans.
    void pressAndScan(Qt::Key key);
    void scanMeanwhile();
    void finish();
    void giveBack();

    Cashier& m_cashier;
    test_support::StillClock m_clock{QDateTime::currentDateTime()};
    ScanBook m_book;
    QString m_spending; ///< what moves the points
    std::mt19937 m_random;
    Trouble m_trouble = Trouble::None;
    bool m_isUp = true;
    bool m_isAbandoned = false;
};

till::Goods Day::someGoods()
{
    const QList<till::Goods> all = till::demonstrationGoods();
    return all[below(int(all.size()))];
}

QString Day::codeOf(const till::Goods& goods) { return isOneOf(2) ? goods.articul : goods.barcodes.first(); }

void Day::scanGoods()
{
    const till::Goods goods = someGoods();
    m_book.scanGoods(goods, codeOf(goods));
}

// Goods and cards, while the service thinks.
void Day::scanMeanwhile()
{
    for (int left = 1 + below(3); left > 0; --left) {
        const till::Goods goods = someGoods();
        if (isOneOf(4))
            m_book.scanCardMeanwhile(oneOf(goodCards));
        else
            m_book.scanGoodsMeanwhile(goods, codeOf(goods));
    }
}

void Day::identify()
{
    const bool isOdd = isOneOf(5);
    const QString card = oneOf(isOdd ? oddCards : goodCards);
    const bool isSlow = m_trouble == Trouble::Slow && m_isUp;
    if (isSlow)
        m_cashier.spoilTheNext(u"card-info"_s, R"("fault":"late","ms":60)");
    {
        const AtOnce meanwhile([&] { return isSlow && m_cashier.waiting().active(); },
                               [&] { scanMeanwhile(); });
        m_book.scanCard(card, m_isUp && !isOdd);
        EXPECT_EQ(meanwhile.isDone(), isSlow);
    }
    m_book.settle();
}

void Day::ask(Qt::Key key, const std::function<void(QDialog&)>& answer)
{
    const AtOnce dialog(isDialogOpen, [&] {
        const till::Goods goods = someGoods();
        if (isOneOf(2))
            m_book.scanIntoDialog(*openDialog(), isOneOf(2) ? codeOf(goods) : oneOf(goodCards));
        answer(*openDialog());
    });
    m_cashier.press(key);
    EXPECT_TRUE(dialog.isDone()) << m_cashier.notice().toStdString();
}

void Day::confirmSpending(const std::function<void()>& begin)
{
    const AtOnce code(isDialogOpen, [&] {
        if (m_trouble == Trouble::Dialog)
            m_book.scanIntoDialog(*openDialog(), codeOf(someGoods()));
        m_cashier.type(u"1234"_s);
        m_cashier.press(Qt::Key_Return);
    });
    begin();
}

void Day::spend()
{
    if (m_trouble == Trouble::Lost && m_isUp)
        m_cashier.spoilTheNext(m_spending, R"("fault":"apply-then-drop")");
    if (isOneOf(2))
        confirmSpending([&] { m_cashier.press(Qt::Key_F7, Qt::ShiftModifier); });
    else
        confirmSpending([&] { m_cashier.spend(QString::number(1 + below(20))); });
    if (!m_cashier.checkout().unknownSpending())
        return;
    scanGoods(); // what the customer brings after it
    if (!m_isUp)
        m_cashier.till().setServiceUp(m_isUp = true);
    confirmSpending([&] { m_cashier.press(Qt::Key_F9); });
}

void Day::pressAndScan(Qt::Key key)
{
    {
        const AtOnce meanwhile(
            [&] { return m_trouble == Trouble::Slow && m_cashier.waiting().active() && !isDialogOpen(); },
            [&] { scanMeanwhile(); });
        m_cashier.press(key);
    }
    m_book.settle();
}

void Day::finish()
{
    const QString receipt = m_cashier.checkout().receipt()->getIdentifier();
    m_isAbandoned = m_cashier.checkout().unknownSpending() || isOneOf(8);
    if (m_isAbandoned) {
        ask(Qt::Key_F8, [&](QDialog&) { m_cashier.press(Qt::Key_Delete); });
        m_book.noteAbandoned(receipt);
    } else {
        const bool earns = m_isUp && m_cashier.checkout().card();
        if (m_trouble == Trouble::Failing && earns)
            m_cashier.spoilTheNext(u"payment-b2c"_s, R"("fault":"status","code":503)");
        else if (m_trouble == Trouble::Slow && earns)
            m_cashier.spoilTheNext(u"payment-b2c"_s, R"("fault":"late","ms":60)");
        pressAndScan(Qt::Key_F9);
    }
    EXPECT_FALSE(m_cashier.checkout().receipt()) << m_cashier.notice().toStdString();
}

void Day::giveBack()
{
    m_clock.move(1min);
    ask(Qt::Key_F10, [&](QDialog& dialog) {
        m_cashier.press(Qt::Key_F4);
        m_cashier.press(Qt::Key_F9);
        EXPECT_FALSE(dialog.isVisible()) << wordsOf(dialog);
        if (dialog.isVisible())
            m_cashier.press(Qt::Key_Escape);
    });
    ASSERT_EQ(m_cashier.model().state(), till::State::Return) << m_cashier.notice().toStdString();
    scanGoods();
    m_book.scanCard(oneOf(goodCards), false);
    m_cashier.press(Qt::Key_F9);
    EXPECT_FALSE(m_cashier.checkout().receipt()) << m_cashier.notice().toStdString();
}

void Day::serve(Trouble trouble)
{
    m_clock.move(1min); // the service tells the receipts of a card apart by the second
    m_trouble = trouble;
    const int goods = 1 + below(6);
    const int cardAt = isOneOf(5) ? -1 : below(goods + 1);
    const int awayAt = trouble == Trouble::Away ? below(goods + 2) : -1;
    for (int i = 0; i <= goods; ++i) {
        if (i == awayAt)
            m_cashier.till().setServiceUp(m_isUp = false);
        if (i == cardAt)
            identify();
        if (i < goods)
            scanGoods();
        if (trouble == Trouble::Dialog && i == 0)
            ask(isOneOf(2) ? Qt::Key_F4 : Qt::Key_F5, [&](QDialog&) { m_cashier.press(Qt::Key_Escape); });
    }
    if (m_cashier.checkout().card() && !isOneOf(3))
        spend();
    if (awayAt > goods)
        m_cashier.till().setServiceUp(m_isUp = false);
    if (isOneOf(3))
        scanGoods(); // forgotten in the basket
    finish();
    if (!m_isAbandoned && isOneOf(6))
        giveBack();
    if (!m_isUp)
        m_cashier.till().setServiceUp(m_isUp = true);
    if (isOneOf(10))
        m_cashier.model().deliver();
}

class WindowScannerDay : public testing::TestWithParam<bool>
{};

} // namespace

// KYR_WINDOW_RECEIPTS says how many receipts both days have together, KYR_SEED repeats a day.
TEST_P(WindowScannerDay, LosesNoScanAndTheLedgerAgrees)
{
    const int receipts = static_cast<int>(numberFrom("KYR_WINDOW_RECEIPTS", 60) / 2);
    const unsigned seed = numberFrom("KYR_SEED", std::random_device()());
    std::cout << "KYR_SEED=" << seed << '\n';
    Cashier cashier({.smsVerification = GetParam(), .timeout = 2});
    Day day(cashier, GetParam(), seed);
    QList<Trouble> deck;
    for (int i = 0; i < receipts && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        if (deck.isEmpty()) {
            deck = troubles;
            std::shuffle(deck.begin(), deck.end(), day.random());
        }
        day.serve(deck.takeLast());
    }
    ASSERT_FALSE(testing::Test::HasFailure()) << "with that seed";
    for (int i = 0; i < 3 && cashier.till().queue().waitingCount() > 0; ++i)
        cashier.model().deliver();
    const till::Summary summary = till::summaryOf(cashier.till());
    EXPECT_EQ(summary.waiting + summary.parked, 0) << cashier.notice().toStdString();
    ASSERT_TRUE(summary.differences);
    EXPECT_EQ(summary.differences->join(u'\n').toStdString(), "");
    day.book().compareWithClosedReceipts(receipts);
    std::cout << day.book().summary() << '\n';
}

INSTANTIATE_TEST_SUITE_P(Codes, WindowScannerDay, testing::Values(false, true),
                         [](const auto& codes) { return codes.param ? "with" : "without"; });

} // namespace windowtest
