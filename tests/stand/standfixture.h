#pragma once

#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"

#include <gmock/gmock.h>

#include <QJsonArray>

namespace standtest {

/// A stand of its own for each test, in memory, and short ways to ask it.
class StandTest : public ::testing::Test
{
protected:
    void SetUp() override;

    /// GET with the right credentials, of a path behind "/v2/partner/".
    Reply get(const QByteArray& path);
    /// Any call; `path` is from the root.
    Reply call(const QByteArray& path, Call how = {});

    /// The exchanges page.
    [[nodiscard]] QJsonArray exchanges(const QByteArray& query = {}) const;

    /// Asks the stand to end; its exit status, or nothing when it crashed.
    std::optional<int> endStatus();

    [[nodiscard]] qsizetype openFiles() const { return m_stand.openFiles(); }
    [[nodiscard]] QByteArray root() const { return m_root; }

private:
    StandProcess m_stand;
    QByteArray m_root;
};

QJsonArray exchangesOf(const QByteArray& root, const QByteArray& query = {});

/// The JSON that a text with single quotes for double ones means, for short expectations.
QJsonValue json(QString text);

} // namespace standtest

// GoogleTest finds them by their argument's namespace.
QT_BEGIN_NAMESPACE
void PrintTo(const QJsonValue& value, std::ostream* out);
void PrintTo(const QJsonObject& value, std::ostream* out);
void PrintTo(const QJsonArray& value, std::ostream* out);
void PrintTo(const QByteArray& value, std::ostream* out);
QT_END_NAMESPACE
