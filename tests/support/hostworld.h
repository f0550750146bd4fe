#pragma once

#include "host/core/session.h"
#include "host/utils/config.h"
#include "tests/support/logcapture.h"

#include <gtest/gtest.h>

namespace test_support {

/// A till of its own for each test: fresh host objects before it, none left behind, the plug-in's log caught.
class HostWorld : public testing::Test
{
protected:
    HostWorld();
    ~HostWorld() override;

    /// Sets a value of the plug-in's configuration: `set("timeout", 3)` is "KYRLoyalty:timeout".
    static void set(const char* key, const QVariant& value);
    [[nodiscard]] QStringList log() const { return m_log.lines(); }
    void clearLog() { m_log.clear(); }

private:
    LogCapture m_log;
};

} // namespace test_support

/// So that a failed comparison prints the text instead of its bytes.
void PrintTo(const QString& text, std::ostream* out);
