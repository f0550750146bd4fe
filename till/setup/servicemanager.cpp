#include "till/setup/servicemanager.h"

#include <QString>

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace till {

// A datagram to a socket: less than a library would bring along.
void notifyServiceManager(const QByteArray& state)
{
    const QByteArray name = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (name.isEmpty() || name.size() >= static_cast<qsizetype>(sizeof address.sun_path))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    if (name.startsWith('@')) // the abstract namespace
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    const auto size =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(name.size()));
    // Nobody listening is no reason to stop delivering.
    [[maybe_unused]] const ssize_t sent =
        sendto(socket, state.constData(), static_cast<std::size_t>(state.size()), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&address), size);
    close(socket);
}

std::optional<std::chrono::milliseconds> watchdogInterval()
{
    const QByteArray process = qgetenv("WATCHDOG_PID");
    const qint64 microseconds = qgetenv("WATCHDOG_USEC").toLongLong();
    if (microseconds <= 0 || (!process.isEmpty() && process.toLongLong() != getpid()))
        return std::nullopt;
    constexpr int oftener = 2; // than it has to be, as is the custom
    return std::chrono::milliseconds(microseconds / 1000 / oftener);
}

} // namespace till
