#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace test_support {

/// Catches what one logger writes while it lives, in whatever thread. They end in the reverse order of their
/// making.
class LogCapture
{
public:
    explicit LogCapture(const QString& loggerName);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines so far, each behind its level: "info: …", "warn: …", "error: …", "debug: …".
    [[nodiscard]] QStringList lines() const;
    void clear();

private:
    class Catcher;
    std::unique_ptr<Catcher> m_catcher;
};

} // namespace test_support
