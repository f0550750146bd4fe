#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "tests/journey/till/kepttill.h"

#include <QDir>
#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// The members that a restart must not change.
QJsonObject state(QJsonObject line)
{
    for (const QString& own : {u"step"_s, u"do"_s, u"value"_s})
        line.remove(own);
    return line;
}

} // namespace

TEST(TillRestart, BringsPointsImpactsAndTheServicesNumbersBack)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    play(shell, card);
    const QJsonObject before = play(shell, spend);
    EXPECT_EQ(before.value(u"points"_s).toDouble(), 100);
    EXPECT_FALSE(before.value(u"impacts"_s).toArray().isEmpty());
    const QByteArray saved = till.openReceipt();
    EXPECT_TRUE(saved.contains(QByteArray("\0s\0p\0e\0n\0d", 10))) << "the number of the spending";

    const QJsonObject after = play(shell, restart());
    EXPECT_EQ(state(after), state(before));
    // It writes what it has in memory.
    EXPECT_EQ(till.openReceipt(), saved);
    end(shell);
}

TEST(TillRestart, AReceiptIsPaidAfterAPowerCutInTheMiddleOfASpending)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    for (const Step& step : {sale, card, spend})
        EXPECT_TRUE(play(shell, step).value(u"ok"_s).toBool());
    shell.kill();
    ASSERT_TRUE(shell.waitForFinished(patienceMs));

    const Ran ran = till.runSteps(pay());
    EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    EXPECT_EQ(linesOf(ran).value(0).value(u"value"_s).toDouble(), 10);
    EXPECT_EQ(linesOf(ran).value(1).value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 100);
    EXPECT_FALSE(till.hasOpenReceipt());
}

TEST(TillRestart, SaysWhatItFound)
{
    const Ran ran = runSteps(restart() + sale + restart());
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Открытого чека нет\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("     Найден открытый чек R-1\n     Чек R-1\n     1  Чай"));
}

TEST(TillRestart, AReceiptThatIsBothOpenAndStoredIsClosed)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    play(shell, stopService()); // else the shell might send what is queued
    const QByteArray open = till.openReceipt();
    EXPECT_EQ(play(shell, pay()).value(u"queued"_s).toInt(), 1);
    // As a host leaves it that does not close a receipt in one commit.
    till.putOpenReceiptBack(open);
    // Whatever belongs to a closing was kept along with the receipt.
    EXPECT_EQ(play(shell, restart()).value(u"queued"_s).toInt(), 1);
    EXPECT_FALSE(till.hasOpenReceipt());
    end(shell);
}

TEST(TillRestart, ASpendingThatWasNotYetADiscountBecomesOne)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    play(shell, card);
    play(shell, spend);
    end(shell);
    // As the plug-in saved it, before the till gave the positions their discount.
    storage::setDataDirectory(till.directory());
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    ASSERT_TRUE(receipt);
    const auto item = receipt->getGoodsItemByPosnum(1);
    ASSERT_EQ(item->getBonusImpactSum(), 100);
    item->setBonusImpactSum(0);
    receipt->setPluginData(u"Till"_s, u"appliedImpacts"_s, 0);
    SaveToFileLogic().save(receipt, {});

    const Ran ran = till.runSteps(restart() + pay());
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(linesOf(ran).last().value(u"summary"_s).toObject().value(u"spent"_s).toDouble(), 100);
}

TEST(TillRestart, ARollbackThatWasCutShortIsFinished)
{
    const KeptTill till;
    leaveSpent(till, [](Document& receipt) { receipt.setPluginData(u"Till"_s, u"stage"_s, u"abandoned"_s); });

    const Ran ran = till.runSteps(openSale("R-2") + card);
    EXPECT_EQ(ran.status, 0) << "the spending is canceled in the ledger";
    EXPECT_EQ(linesOf(ran).value(1).value(u"balance"_s).toDouble(), 300);
}

TEST(TillRestart, APaidReceiptIsMarkedSettledBeforeItIsStored)
{
    const KeptTill till;
    EXPECT_EQ(till.runSteps(sale + card + pay()).status, 0);
    storage::setDataDirectory(till.directory());
    const auto receipt = DocumentsDao().loadDocument(u"R-1"_s, false);
    ASSERT_TRUE(receipt);
    EXPECT_EQ(receipt->getPluginData(u"Till"_s, u"stage"_s, {}).toString(), u"settled"_s);
}

TEST(TillRestart, WhatIsSettledIsNotAskedForAgain)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    play(shell, card);
    end(shell);
    storage::setDataDirectory(till.directory());
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    ASSERT_TRUE(receipt);
    receipt->setPluginData(u"Till"_s, u"stage"_s, u"settled"_s);
    SaveToFileLogic().save(receipt, {});

    const Ran ran = till.runSteps(pay());
    EXPECT_TRUE(linesOf(ran).value(0).value(u"ok"_s).toBool());
    EXPECT_TRUE(linesOf(ran).value(0).value(u"value"_s).isNull());
    EXPECT_EQ(ran.status, 1) << "in truth nothing had been earned, and the ledger tells";
}

TEST(TillRestart, ATillThatCannotComeBackEndsAndSaysWhy)
{
    const KeptTill till;
    QProcess shell;
    till.startShell(shell);
    play(shell, sale);
    // Where a start tries whether the disk has room.
    ASSERT_TRUE(QDir(till.directory()).mkdir(u"write-check"_s));
    shell.write(restart().json() + '\n');
    ASSERT_TRUE(shell.waitForFinished(patienceMs));
    EXPECT_EQ(shell.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(shell.exitCode(), 2);
    EXPECT_THAT(shell.readAllStandardError().toStdString(), HasSubstr("write-check"));
}

} // namespace tilltest
