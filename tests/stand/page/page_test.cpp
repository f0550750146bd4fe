// The page for people, in a real browser.

#include "tests/stand/page/browser.h"
#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <curl/curl.h>

using namespace Qt::StringLiterals;
using standtest::Browser;
using standtest::Shop;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

class StandPage : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_browser.isThere()) << "Chromium does not start"; }

    void TearDown() override { EXPECT_THAT(m_browser.complaints().join(u'\n').toStdString(), IsEmpty()); }

    void open()
    {
        m_browser.open(QString::fromLatin1(m_shop.root()) + u"/stand/"_s);
        ASSERT_TRUE(m_browser.becomes(u"document.querySelectorAll('#balances-rows tr').length >= 9"_s));
        ASSERT_TRUE(m_browser.becomes(u"document.getElementById('books').classList.contains('good')"_s));
    }

    std::string text(const QString& id)
    {
        return m_browser.evaluate(u"document.getElementById('%1').innerText"_s.arg(id))
            .toString()
            .toStdString();
    }

    bool shows(const QString& id, const QString& words)
    {
        return m_browser.becomes(
            u"(document.getElementById('%1')?.innerText ?? '').includes('%2')"_s.arg(id, words));
    }

    void expectNothingCutOff()
    {
        for (const auto width : {360, 390, 1280}) {
            m_browser.resize(width, 900);
            EXPECT_TRUE(m_browser.becomes(u"matchMedia('(width: %1px)').matches"_s.arg(width)));
            EXPECT_EQ(m_browser.evaluate(u"[...document.querySelectorAll('section, section *')]"
                                         ".filter(e => e.getBoundingClientRect().right > %1)"
                                         ".map(e => e.outerHTML.slice(0, 60)).join()"_s.arg(width)),
                      u""_s)
                << "cut off at " << width;
        }
    }

    Shop m_shop;
    Browser m_browser;
};

TEST_F(StandPage, ShowsBalancesAndBooks)
{
    m_shop.forcePayment({.number = u"42"_s}, u"20.00"_s);
    open();
    EXPECT_THAT(text(u"balances"_s), HasSubstr("Орлова Анна"));
    EXPECT_THAT(text(u"balances"_s), HasSubstr("280.00"));
    EXPECT_THAT(text(u"ledger"_s), HasSubstr("spending"));
    EXPECT_THAT(text(u"ledger"_s), HasSubstr("receipt 42"));
    EXPECT_THAT(text(u"ledger"_s), HasSubstr("−20.00"));
    EXPECT_THAT(text(u"exchanges"_s), HasSubstr("POST operation/force-payment-c2b"));
    EXPECT_THAT(text(u"books"_s), HasSubstr("Books in order"));
}

TEST_F(StandPage, NamesPointsThatThresholdsLeftInsteadOfCallingTheBooksInOrder)
{
    const QList<standtest::Item> all = {{1, 3, 2}};
    const QList<standtest::Item> half = {{1, 1.5, 1}};
    m_shop.forcePayment({.number = u"1"_s, .items = all, .identifier = u"R-1"_s}, u"0.01"_s);
    m_shop.earn({.number = u"2"_s, .items = all, .identifier = u"R-1"_s});
    m_shop.refuse({.number = u"3"_s, .items = half, .identifier = u"V-1"_s}, u"2"_s);
    m_shop.refuse({.number = u"4"_s, .items = half, .identifier = u"V-2"_s}, u"2"_s);
    m_shop.refuse({.number = u"5"_s, .items = half, .identifier = u"V-2"_s}, u"1"_s);
    open();
    EXPECT_THAT(text(u"books"_s), HasSubstr("Points left by the thresholds"));
    EXPECT_THAT(text(u"left"_s), HasSubstr("0.01 points of position 1 of receipt R-1"));
}

TEST_F(StandPage, RefreshesItself)
{
    open();
    EXPECT_THAT(text(u"codes"_s), IsEmpty());
    m_shop.payment({}, u"20.00"_s);
    const auto code = m_shop.page("codes").toArray().last()[u"code"].toString();
    EXPECT_TRUE(shows(u"codes"_s, code));
    EXPECT_THAT(text(u"codes"_s), HasSubstr("3 attempts"));
    EXPECT_THAT(text(u"codes"_s), HasSubstr("receipt 100"));
    m_shop.confirm(1, code);
    EXPECT_TRUE(shows(u"codes"_s, u"confirmed"_s));
    EXPECT_TRUE(shows(u"ledger"_s, u"spending"_s));
}

TEST_F(StandPage, ArmsAFaultThatStrikesAndTakesItBack)
{
    open();
    m_browser.evaluate(u"document.getElementById('lose').click()"_s);
    ASSERT_TRUE(shows(u"faults"_s, u"apply-then-drop"_s));
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).error, CURLE_GOT_NOTHING);
    EXPECT_TRUE(shows(u"faults"_s, u"1 of 1 calls"_s));
    EXPECT_EQ(m_shop.forcePayment({}, u"20.00"_s).status, 200);
    m_browser.evaluate(u"document.querySelector('#faults button').click()"_s);
    EXPECT_TRUE(m_browser.becomes(u"document.getElementById('faults').children.length === 0"_s));
    EXPECT_EQ(m_shop.page("faults")[u"faults"].toArray().size(), 0);
}

TEST_F(StandPage, ArmsWhatItsFormSays)
{
    open();
    m_browser.evaluate(u"(() => { const form = document.getElementById('arm');"
                       "form.operation.value = 'payment-b2c'; form.fault.value = 'status';"
                       "form.fault.dispatchEvent(new Event('change')); form.nth.value = '2';"
                       "form.code.value = '429'; document.getElementById('arm-button').click(); })()"_s);
    ASSERT_TRUE(shows(u"faults"_s, u"code 429"_s));
    EXPECT_EQ(m_shop.earn({.number = u"1"_s}).status, 200);
    EXPECT_EQ(m_shop.earn({.number = u"2"_s}).status, 429);
}

TEST_F(StandPage, SaysWhatIsWrongInItsForm)
{
    open();
    m_browser.evaluate(
        u"document.getElementById('arm').nth.value = 'x'; document.getElementById('arm-button').click()"_s);
    EXPECT_TRUE(shows(u"wrong"_s, u"\"nth\" is a whole number"_s));
    EXPECT_THAT(text(u"faults"_s), IsEmpty());
    // The browser itself notes the refusal; nothing else may be.
    for (const auto& complaint : m_browser.complaints())
        EXPECT_THAT(complaint.toStdString(), HasSubstr("422"));
    m_browser.forget();
}

TEST_F(StandPage, TakesATillsTextsForTexts)
{
    open();
    m_shop.earn({.number = u"<img src=x onerror=\"document.title='owned'\">"_s});
    ASSERT_TRUE(shows(u"ledger"_s, u"<img src=x"_s));
    EXPECT_EQ(m_browser.evaluate(u"document.querySelectorAll('main img').length"_s), QJsonValue(0));
    EXPECT_EQ(m_browser.evaluate(u"document.title"_s), u"Loyalty stand"_s);
}

TEST_F(StandPage, FitsAPhoneAndADesk)
{
    m_shop.forcePayment({.number = u"a-rather-long-receipt-number-1795224000-cancel"_s}, u"20.00"_s);
    m_shop.payment({.number = u"101"_s}, u"20.00"_s);
    open();
    expectNothingCutOff();
}

TEST_F(StandPage, LoadsNothingFromElsewhereAndTellsNoCredentials)
{
    m_shop.forcePayment({}, u"20.00"_s);
    open();
    EXPECT_EQ(m_browser.evaluate(
                  u"performance.getEntriesByType('resource').every(e => e.name.startsWith(origin))"_s),
              QJsonValue(true));
    EXPECT_GT(m_browser.evaluate(u"performance.getEntriesByType('resource').length"_s).toInt(), 3);
    const auto all = m_browser.evaluate(u"document.documentElement.outerHTML"_s).toString().toStdString();
    EXPECT_THAT(all, HasSubstr("Орлова"));
    EXPECT_THAT(all, Not(HasSubstr("secret-of-the-shop")));
    EXPECT_THAT(all, Not(HasSubstr("Basic ")));
}

TEST_F(StandPage, ShowsTheWholeInterfaceOnAPageThatFitsAPhoneAndADesk)
{
    m_browser.open(QString::fromLatin1(m_shop.root()) + u"/docs"_s);
    ASSERT_TRUE(
        m_browser.becomes(u"document.readyState === 'complete' && document.getElementById('earn')"_s));
    EXPECT_EQ(m_browser.evaluate(u"getComputedStyle(document.body).maxWidth"_s), u"960px"_s) << "no style";
    m_browser.evaluate(u"document.querySelectorAll('details').forEach(e => { e.open = true; })"_s);
    expectNothingCutOff();
}

TEST_F(StandPage, SaysWhenTheStandIsGone)
{
    open();
    m_shop.kill();
    EXPECT_TRUE(shows(u"offline"_s, u"does not answer"_s));
    m_browser.forget();
}

} // namespace
