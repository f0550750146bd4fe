#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storedform.h"
#include "tests/journey/till/kepttill.h"
#include "tests/support/httpserver.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>

#include <iostream>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::HttpAnswer;
using test_support::HttpServer;

namespace tilltest {

TEST(TillRecovery, ARollbackOfWhatIsRolledBackAlreadyDoesNotAskTheServiceAgain)
{
    const KeptTill till;
    // As another host's plug-in saved it once the service had canceled, before that host removed it.
    leaveSpent(till, [](Document& receipt) {
        receipt.setPluginData(u"Till"_s, u"stage"_s, u"abandoned"_s);
        receipt.getCardRecord(KyrLoyaltySystem)->setOperationId({});
    });

    const Ran ran = runJson(deliver(), till.arguments() + QStringList{u"--verbose"_s});
    EXPECT_FALSE(till.hasOpenReceipt());
    EXPECT_EQ(linesOf(ran).value(0).value(u"value"_s).toInt(), 0) << "nothing was queued";
    EXPECT_FALSE(ran.err.contains("cancel-payment"));
}

TEST(TillRecovery, DoesNotWaitForAServiceThatDoesNotAnswer)
{
    const KeptTill till;
    leaveSpent(till, [](Document& receipt) { receipt.setPluginData(u"Till"_s, u"stage"_s, u"abandoned"_s); });

    HttpServer slow;
    HttpAnswer never = HttpAnswer::status(200, "{}");
    never.delay = std::chrono::seconds(60);
    slow.enqueue(never);
    slow.enqueue(HttpAnswer::status(200, "{}"));
    QElapsedTimer clock;
    clock.start();
    const Ran ran =
        runJson(deliver(), till.arguments() + QStringList{u"--server-url"_s, slow.url().toString()});
    EXPECT_LT(clock.elapsed(), 2000);
    EXPECT_FALSE(till.hasOpenReceipt());
    EXPECT_EQ(linesOf(ran).value(0).value(u"value"_s).toInt(), 1)
        << "the cancellation went through the queue";
    ASSERT_EQ(slow.requests().size(), 2);
    EXPECT_TRUE(slow.requests()[0].path.endsWith("/cancel-payment"));
    EXPECT_EQ(slow.requests()[1].path, slow.requests()[0].path);
    EXPECT_EQ(slow.requests()[1].body, slow.requests()[0].body) << "the service knows the repeat";
}

/// The points are spent and the answer is kept, but not yet made a discount; and its share is another
/// position's.
void loseTheShares(Document& receipt)
{
    receipt.getGoodsItemByPosnum(1)->setBonusImpactSum(0);
    receipt.setPluginData(u"Till"_s, u"appliedImpacts"_s, 0);
    QVariantMap impact = receipt.getPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, {}).toList()[0].toMap();
    impact.insert(u"positions"_s, QVariantList{QVariantMap{{u"position"_s, 7}, {u"sum"_s, 100.0}}});
    receipt.setPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, QVariantList{impact});
}

/// What becomes of it: not paid before the service was asked again.
void expectToBeAskedAgain(const KeptTill& till)
{
    const QList<QJsonObject> lines = linesOf(till.runSteps(pay().mayFail() + spend + pay()));
    EXPECT_THAT(errorOf(lines.value(0)), testing::HasSubstr("исход списания 100,00 баллов неизвестен"));
    EXPECT_EQ(lines.value(1).value(u"impacts"_s).toArray().size(), 1);
    EXPECT_EQ(lines.value(2).value(u"value"_s).toDouble(), 10) << "5 % of the 200 paid";
}

TEST(TillRecovery, SharesThatAreNotTheReceiptsAreNoMoreTakenForADiscountThanThoseThatJustCame)
{
    const KeptTill till;
    leaveSpent(till, [](Document& receipt) {
        loseTheShares(receipt);
        receipt.setPluginData(u"Till"_s, u"unknownSpending"_s,
                              QVariantMap{{u"points"_s, 100.0}, {u"wanted"_s, 100.0}});
    });
    expectToBeAskedAgain(till);
}

TEST(TillRecovery, SharesThatAreNotTheReceiptsAreUnknownThoughNobodyMarkedTheSpending)
{
    const KeptTill till;
    leaveSpent(till, loseTheShares);
    expectToBeAskedAgain(till);
}

TEST(TillRecovery, WhatWasBeingPaidCanOnlyBePaid)
{
    const KeptTill till;
    leaveSpent(till, [](Document& receipt) { receipt.setPluginData(u"Till"_s, u"stage"_s, u"paying"_s); });

    const QList<QJsonObject> lines =
        linesOf(till.runSteps(rollback().mayFail() + cancel().mayFail() + pay()));
    for (const int step : {0, 1})
        EXPECT_EQ(errorOf(lines.value(step)),
                  "Чек R-1 уже оплачивается: завершите оплату\nВозможны шаги: getCardInfo, pay");
    EXPECT_TRUE(lines.value(2).value(u"ok"_s).toBool());
}

TEST(TillRecovery, ADamagedReceiptIsSetAsideAndSaidAndTheTillGoesOn)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    end(shell);
    QByteArray content = till.openReceipt();
    content[content.size() / 2] = static_cast<char>(~content[content.size() / 2]);
    till.putOpenReceiptBack(content);

    const Ran ran = till.runSteps(sale);
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(linesOf(ran).value(0).value(u"ok"_s).toBool()) << "the number is free again";
    const QStringList kept = QDir(till.directory()).entryList({u"open-receipt.damaged-*"_s});
    ASSERT_EQ(kept.size(), 1);
    QFile damaged(till.directory() + u'/' + kept.first());
    ASSERT_TRUE(damaged.open(QIODevice::ReadOnly));
    EXPECT_EQ(damaged.readAll(), content) << "nothing of it is changed";
    EXPECT_THAT(ran.err.toStdString(), testing::HasSubstr(kept.first().toStdString()))
        << "it is said where it lies";
}

TEST(TillRecovery, AStoreThatIsDamagedDuringWorkIsSaidAtEachStepAndSetAsideByTheNextStart)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    play(shell, card);
    const QString path = till.directory() + u"/till.sqlite"_s;
    QFile store(path);
    ASSERT_TRUE(store.open(QIODevice::ReadWrite) && store.seek(4096));
    ASSERT_GT(store.write(QByteArray(store.size(), 'x')), 0);
    store.close();
    ASSERT_TRUE(QFile::resize(path + u"-wal"_s, 0));

    const QJsonObject paid = play(shell, pay());
    EXPECT_FALSE(paid.value(u"ok"_s).toBool());
    EXPECT_THAT(errorOf(paid), testing::HasSubstr("till.sqlite"));
    EXPECT_TRUE(paid.value(u"queued"_s).isNull());
    EXPECT_FALSE(play(shell, pay()).isEmpty()) << "the till goes on";
    end(shell);

    EXPECT_TRUE(linesOf(till.runSteps(sale)).value(0).value(u"ok"_s).toBool()) << "in a new store";
    EXPECT_EQ(QDir(till.directory()).entryList({u"till.sqlite.damaged-*"_s}).size(), 1);
}

TEST(TillRecovery, AReceiptOfALaterVersionIsRefusedAndLeftAsItIs)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    end(shell);
    const storage::Seal later{0x4B595264, 99};
    till.putOpenReceiptBack(storage::sealed(later, "whatever it will be"));
    const QByteArray content = till.openReceipt();

    const Ran ran = till.runSteps(sale);
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), testing::HasSubstr("till.sqlite: open_receipt"));
    EXPECT_EQ(till.openReceipt(), content);
}

TEST(TillRecovery, TakesLessThanTwoSecondsWithALargeReceipt)
{
    const KeptTill till;
    const QList<Goods> positions(2000, tea(9.99, 2));
    EXPECT_EQ(till.runSteps(openSale("R-1", positions) + card + request()).status, 0);
    QProcess shell;
    QElapsedTimer clock;
    clock.start();
    till.startShell(shell);
    EXPECT_TRUE(play(shell, getCardInfo()).value(u"ok"_s).toBool());
    const qint64 taken = clock.elapsed();
    std::cout << "From the start to the first answer: " << taken << " ms" << std::endl;
    EXPECT_LT(taken, 2000);
    end(shell);
}

TEST(TillRecovery, AReceiptThatCannotBeClosedStaysOpenAndQueuesNothing)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    for (const Step& step : {sale, card, pay()})
        EXPECT_TRUE(play(shell, step).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(shell, openReturn("V-1", "R-1", {position(1)})).value(u"ok"_s).toBool());
    {
        // Somebody else has a document stored under the return's number in the meantime.
        storage::setDataDirectory(till.directory());
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, u"V-1"_s));
    }
    const QJsonObject refused = play(shell, pay());
    EXPECT_EQ(errorOf(refused), "Чек V-1 уже сохранён с другим содержимым");
    EXPECT_EQ(refused.value(u"queued"_s).toInt(), 0) << "the return's refusals went with it";
    EXPECT_TRUE(till.hasOpenReceipt());
    EXPECT_TRUE(play(shell, rollback()).value(u"ok"_s).toBool()) << "the till goes on";
    end(shell);
}

} // namespace tilltest
