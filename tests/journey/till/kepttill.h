#pragma once

#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/rawdatabase.h"

#include <gmock/gmock.h>

namespace tilltest {

/// A till whose data outlives it.
class KeptTill
{
public:
    [[nodiscard]] QString directory() const { return m_files.path(QStringLiteral("data")); }
    [[nodiscard]] QStringList arguments() const { return {QStringLiteral("--data-dir"), directory()}; }
    /// Sealed, as it lies in the store.
    [[nodiscard]] QByteArray openReceipt() const { return test_support::openReceiptIn(directory()); }
    [[nodiscard]] bool hasOpenReceipt() const { return !openReceipt().isEmpty(); }
    void putOpenReceiptBack(const QByteArray& content) const
    {
        test_support::putOpenReceipt(directory(), content);
    }
    void startShell(QProcess& shell) const
    {
        start(shell, QStringList{QStringLiteral("shell"), QStringLiteral("--json")} + arguments());
    }
    [[nodiscard]] Ran runSteps(const story::Steps& steps) const { return runJson(steps, arguments()); }

private:
    Files m_files;
};

inline void end(QProcess& shell);

/// Leaves a receipt open that points were spent on, and changes it as something interrupted would have.
template <class Change>
void leaveSpent(const KeptTill& till, Change change)
{
    QProcess shell;
    till.startShell(shell);
    for (const story::Step& step : {sale, card, spend})
        play(shell, step);
    end(shell);
    storage::setDataDirectory(till.directory());
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    ASSERT_TRUE(receipt);
    change(*receipt);
    SaveToFileLogic().save(receipt, {});
}

inline void end(QProcess& shell)
{
    shell.closeWriteChannel();
    EXPECT_TRUE(shell.waitForFinished(patienceMs));
    EXPECT_EQ(shell.exitCode(), 0);
}

} // namespace tilltest
