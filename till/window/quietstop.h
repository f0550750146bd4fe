#pragma once

#include <QSocketNotifier>

#include <array>
#include <memory>

namespace till::window {

/// Makes the first SIGINT or SIGTERM end the application's event loop, its dialogs' too, without a question:
/// the open receipt is kept anyway. The next one ends the program as usual. One at a time, in the main
/// thread, after the application was made.
class QuietStop
{
public:
    QuietStop();
    ~QuietStop();
    Q_DISABLE_COPY_MOVE(QuietStop)

private:
    std::array<int, 2> m_pipe{-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace till::window
