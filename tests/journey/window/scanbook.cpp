#include "tests/journey/window/scanbook.h"

#include "host/storage/documents.h"
#include "till/setup/hostobjects.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using till::window::CheckoutModel;
using till::window::Notice;

namespace windowtest {

ScanBook::ScanBook(Cashier& cashier)
    : m_cashier(cashier)
{
    QObject::connect(&cashier.model(), &CheckoutModel::noticed, &m_listener, [this] {
        if (m_cashier.model().notice().kind == Notice::Kind::Bad)
            m_words.append(m_cashier.model().notice().text);
    });
}

ScanBook::Goods ScanBook::goodsOf(const AbstractDocument& receipt)
{
    Goods goods;
    for (const auto& item : receipt.getGoodsItems())
        goods[item->getArticul()] += static_cast<int>(item->getBquant());
    return goods;
}

QString ScanBook::receipt() const
{
    const auto open = m_cashier.checkout().receipt();
    return open ? open->getIdentifier() : QString();
}

ScanBook::Goods ScanBook::shown() const
{
    const auto open = m_cashier.checkout().receipt();
    return open ? goodsOf(*open) : Goods();
}

bool ScanBook::isOpenForGoods() const
{
    return m_cashier.model().state() == till::State::Idle || m_cashier.model().can(till::Action::SetLines);
}

void ScanBook::noteRefusal(int beeps, qsizetype words)
{
    EXPECT_EQ(beeps, 1) << "not taken without a sound";
    EXPECT_EQ(m_words.size(), words + 1) << "not taken without a word";
    ++m_refused;
}

void ScanBook::scanGoods(const till::Goods& goods, const QString& code)
{
    SCOPED_TRACE("goods " + code.toStdString());
    const bool mustBeTaken = isOpenForGoods();
    const Goods before = shown();
    const qsizetype words = m_words.size();
    m_cashier.takeBeeps();
    m_cashier.scan(code);
    ++m_scans;
    const int beeps = m_cashier.takeBeeps();
    if (!mustBeTaken) {
        EXPECT_EQ(shown(), before);
        return noteRefusal(beeps, words);
    }
    Goods expected = before;
    ++expected[goods.articul];
    EXPECT_EQ(shown(), expected) << m_cashier.notice().toStdString();
    EXPECT_EQ(beeps, 0);
    ++m_goods[receipt()][goods.articul];
    ++m_taken;
}

void ScanBook::scanCard(const QString& number, bool isKnown)
{
    SCOPED_TRACE("card " + number.toStdString());
    const bool mustBeTaken = isKnown && (m_cashier.model().state() == till::State::Idle ||
                                         m_cashier.model().can(till::Action::Identify));
    const qsizetype words = m_words.size();
    m_cashier.takeBeeps();
    m_cashier.scan(number);
    ++m_scans;
    const auto card = m_cashier.checkout().card();
    const bool isCustomer = card && card->getNumber().toString() == number;
    if (isCustomer) {
        ++m_customers;
        return;
    }
    EXPECT_FALSE(mustBeTaken) << m_cashier.notice().toStdString();
    EXPECT_GE(m_cashier.takeBeeps(), 1) << "not taken without a sound";
    EXPECT_GT(m_words.size(), words) << "not taken without a word";
    ++m_refused;
}

void ScanBook::scanIntoDialog(QDialog& dialog, const QString& code)
{
    SCOPED_TRACE("into a dialog " + code.toStdString());
    const Goods before = shown();
    const std::string words = wordsOf(dialog);
    m_cashier.takeBeeps();
    m_cashier.scan(code);
    ++m_scans;
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(shown(), before);
    EXPECT_EQ(m_cashier.takeBeeps(), 1) << "not taken without a sound";
    EXPECT_NE(wordsOf(dialog), words) << "not taken without a word";
    ++m_refused;
}

void ScanBook::scanGoodsMeanwhile(const till::Goods& goods, const QString& code)
{
    SCOPED_TRACE("goods meanwhile " + code.toStdString());
    const Goods before = shown();
    m_cashier.takeBeeps();
    m_cashier.scan(code);
    ++m_scans;
    EXPECT_EQ(shown(), before) << "in the middle of a request";
    const std::string words = m_cashier.screen().toStdString();
    if (receipt().isEmpty()) { // there is none yet that it could be for
        EXPECT_EQ(m_cashier.takeBeeps(), 1) << "not taken without a sound";
        EXPECT_THAT(words, HasSubstr("Код не принят: подождите ответа"));
        ++m_refused;
        return;
    }
    EXPECT_EQ(m_cashier.takeBeeps(), 0);
    EXPECT_THAT(words, HasSubstr(goods.name.toStdString() + ": будет в чеке после ответа"));
    m_kept.append({receipt(), goods});
}

void ScanBook::scanCardMeanwhile(const QString& number)
{
    SCOPED_TRACE("card meanwhile " + number.toStdString());
    m_cashier.takeBeeps();
    m_cashier.scan(number);
    ++m_scans;
    EXPECT_EQ(m_cashier.takeBeeps(), 1) << "not taken without a sound";
    EXPECT_THAT(m_cashier.screen().toStdString(), HasSubstr("Карта не принята"));
    ++m_refused;
}

// Each that was kept is on its receipt now, or there was a word that names it.
void ScanBook::settle()
{
    const bool isOpen = isOpenForGoods();
    const int beeps = m_cashier.takeBeeps();
    int refused = 0;
    for (const Kept& one : std::exchange(m_kept, {})) {
        const auto names = [&](const QString& word) {
            return word.startsWith(one.goods.name + u" — не в чеке"_s);
        };
        const auto word = std::find_if(m_words.begin(), m_words.end(), names);
        if (word == m_words.end()) {
            ++m_goods[one.receipt][one.goods.articul];
            ++m_taken;
            ++m_keptAndTaken;
            continue;
        }
        m_words.erase(word); // each word is for one code
        EXPECT_FALSE(isOpen && one.receipt == receipt()) << "refused, though the receipt could take it";
        ++refused;
    }
    EXPECT_GE(beeps, refused) << "not taken without a sound";
    m_refused += refused;
    EXPECT_EQ(shown(), m_goods.value(receipt()));
}

void ScanBook::compareWithClosedReceipts(int receipts) const
{
    int closed = 0;
    for (const QString& identifier : m_cashier.till().turnover().closed) {
        const auto document = till::hostObject<DocumentsDao>().loadDocument(identifier, false);
        ASSERT_TRUE(document);
        if (document->getDocumentType() != SaleReceipt)
            continue;
        EXPECT_EQ(goodsOf(*document), m_goods.value(identifier)) << identifier.toStdString();
        EXPECT_FALSE(m_abandoned.contains(identifier));
        ++closed;
    }
    EXPECT_EQ(closed + m_abandoned.size(), receipts);
    EXPECT_EQ(m_goods.size(), receipts) << "a receipt that nobody opened";
    EXPECT_EQ(m_taken + m_customers + m_refused, m_scans);
}

std::string ScanBook::summary() const
{
    return u"%1 scans: %2 goods (%3 of them while a request ran), %4 customers, %5 refused with sound and word"_s
        .arg(m_scans)
        .arg(m_taken)
        .arg(m_keptAndTaken)
        .arg(m_customers)
        .arg(m_refused)
        .toStdString();
}

} // namespace windowtest
