#pragma once

#include "tests/soak/service.h"

#include <QTemporaryDir>

#include <functional>

namespace soaktest {

/// Where a till keeps its data, and the real program that works there.
class TillThere
{
public:
    /// The service's address is all that the till has to know of it.
    explicit TillThere(const Service& service);

    [[nodiscard]] QString dataDirectory() const { return m_directory.filePath(QStringLiteral("data")); }

    /// Plays that many receipts to the end; false when a step fails.
    [[nodiscard]] bool play(int receipts) const;
    /// `till queue deliver`: whether nothing is left.
    [[nodiscard]] bool deliver() const;
    /// Starts `till deliver`, does that while an exchange is under way that the service has seen, and kills
    /// it.
    void killADelivery(const Service& service, const std::function<void()>& meanwhile = {}) const;

private:
    [[nodiscard]] QStringList with(const QStringList& arguments) const;
    [[nodiscard]] bool run(const QStringList& arguments) const;
    [[nodiscard]] QString write(const QString& name, const QByteArray& content) const;

    QTemporaryDir m_directory;
};

} // namespace soaktest
