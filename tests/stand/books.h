#pragma once

#include <gmock/gmock.h>

#include <QStringList>
#include <QTemporaryDir>

namespace standtest {

const auto inOrder = QStringLiteral("{'ok':true,'violations':[],'left_by_thresholds':[]}");

/// Runs statements on a data file that no stand has open; whether all went well.
bool change(const QString& file, const QStringList& statements);

/// Stands, one after the other, on a data file of the test's own.
class StandBooks : public ::testing::Test
{
protected:
    [[nodiscard]] QStringList arguments() const
    {
        return {QStringLiteral("--data"), m_file, QStringLiteral("--sms-code"), QStringLiteral("1234")};
    }

    const QTemporaryDir m_directory;
    const QString m_file = m_directory.filePath(QStringLiteral("stand.sqlite"));
};

} // namespace standtest
