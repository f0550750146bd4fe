#pragma once

#include "tests/journey/till/tillprocess.h"
#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

namespace tilltest {

inline const QString number = QStringLiteral("2000000000055");
inline const QString phone = QStringLiteral("79005550001");
inline const QString code = QStringLiteral("490517");

/// What a run said.
struct Said
{
    Ran ran;
    QJsonObject report;
    QHash<QString, QJsonObject> rows = {}; ///< by promise

    [[nodiscard]] QString verdict(const QString& id) const;
    [[nodiscard]] std::string finding(const QString& id) const;
    /// The promises of that verdict.
    [[nodiscard]] std::vector<std::string> of(const QString& verdict) const;
};

Said read(const Ran& ran);

/// A service under test.
class Service
{
public:
    Service();

    [[nodiscard]] QString url() const { return QString::fromLatin1(m_url); }
    /// One of the stand's own.
    [[nodiscard]] QJsonValue page(const QByteArray& path) const;

    /// Has it go wrong.
    void arm(const QJsonObject& fault) const;
    [[nodiscard]] int fired() const;
    void disarm() const;
    /// Waits out a closed port.
    void waitUntilOpen() const;

    [[nodiscard]] std::string balance() const;
    /// Expects the books in order, and the card as it was.
    void expectUntouched() const;

private:
    standtest::StandProcess m_stand;
    QByteArray m_url;
};

class TillConformance : public testing::Test
{
protected:
    /// Of an impatient till; `settings` instead of that.
    [[nodiscard]] QStringList arguments(const QString& url,
                                        const QByteArray& settings = "timeout = 1\n") const;
    [[nodiscard]] QStringList arguments() const { return arguments(service.url()); }

    /// All that it can judge.
    [[nodiscard]] Said conform(const QStringList& more = {}) const { return conformAt(arguments(), more); }
    [[nodiscard]] static Said conformAt(const QStringList& arguments, const QStringList& more = {});

    const Files files;
    const Service service;
};

} // namespace tilltest
