#include "host/utils/standingtime.h"
#include "tests/unit/client/receiptworld.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

// A till whose objects note that they were asked, each in one list.

class TracedDocument : public Document
{
public:
    explicit TracedDocument(QStringList& calls)
        : Document(SaleReceipt, u"R-1"_s)
        , m_calls(calls)
    {}
    [[nodiscard]] QSharedPointer<DocumentCardRecord> getCardRecord(int kind) const override
    {
        m_calls.append(u"card record"_s);
        return Document::getCardRecord(kind);
    }
    [[nodiscard]] QList<QSharedPointer<GoodsItem>> getGoodsItems() const override
    {
        m_calls.append(u"positions"_s);
        return Document::getGoodsItems();
    }
    [[nodiscard]] double getDiscountSum() const override
    {
        m_calls.append(u"discount"_s);
        return Document::getDiscountSum();
    }
    [[nodiscard]] QString getIdentifier() const override
    {
        m_calls.append(u"identifier"_s);
        return Document::getIdentifier();
    }

private:
    QStringList& m_calls;
};

class TracedCard : public DocumentCardRecord
{
public:
    explicit TracedCard(QStringList& calls)
        : DocumentCardRecord(KyrLoyaltySystem, u"77"_s)
        , m_calls(calls)
    {}
    [[nodiscard]] QString getOperationId() const override
    {
        m_calls.append(u"operation ids"_s);
        return DocumentCardRecord::getOperationId();
    }
    void setOperationId(const QString& ids) override
    {
        m_calls.append(u"new operation ids"_s);
        DocumentCardRecord::setOperationId(ids);
    }
    [[nodiscard]] QVariant getNumber() const override
    {
        m_calls.append(u"number"_s);
        return DocumentCardRecord::getNumber();
    }

private:
    QStringList& m_calls;
};

class TracedSession : public Session
{
public:
    explicit TracedSession(QStringList& calls)
        : m_calls(calls)
    {}
    [[nodiscard]] QSharedPointer<AbstractDocument> getDocument() const override
    {
        m_calls.append(u"document"_s);
        return Session::getDocument();
    }
    [[nodiscard]] QSharedPointer<Registry> getRegistry() const override
    {
        m_calls.append(u"shop"_s);
        return Session::getRegistry();
    }

private:
    QStringList& m_calls;
};

TEST_F(ReceiptWorld, TheReceiptIsReadOnceAndInTheOrderOfItsMembers)
{
    QStringList calls;
    const auto traced = QSharedPointer<TracedDocument>::create(calls);
    traced->setCardRecord(QSharedPointer<TracedCard>::create(calls));
    delete Singleton<Session>::instance;
    Singleton<Session>::instance = new TracedSession(calls);
    Singleton<Session>::instance->setDocument(traced);
    MockFactory<CurrentTime>::mocked = [&] {
        calls.append(u"clock"_s);
        return QSharedPointer<CurrentTime>(new StandingTime(clock.now().toLocalTime()));
    };

    (void)client.makeCheck(false);
    EXPECT_THAT(calls, ElementsAre(u"document"_s, u"card record"_s, u"operation ids"_s, u"clock"_s,
                                   u"new operation ids"_s, u"number"_s, u"shop"_s, u"positions"_s, u"clock"_s,
                                   u"discount"_s, u"identifier"_s));
}

} // namespace
