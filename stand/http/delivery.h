#pragma once

#include "stand/http/http.h"

#include <chrono>
#include <functional>
#include <variant>

namespace stand {

/// Bytes for a connection, and what becomes of it: for answers that no HTTP library would send.
struct Delivery
{
    enum class End {
        Close, ///< When all is sent.
        Reset, ///< When all is sent: RST.
        Hang   ///< Nothing more happens until the client goes.
    };

    QByteArray begin = {};
    QByteArray filler =
        {}; ///< Repeated between begin and end, so that an answer may be larger than the memory.
    qint64 repeats = 0;
    QByteArray end = {};
    std::chrono::milliseconds delay{0}; ///< Before the first byte.
    qint64 pieceSize = 0;               ///< So many bytes at a time; 0: as fast as they go.
    std::chrono::milliseconds pause{0}; ///< Between two pieces.
    End after = End::Close;
};

/// An answer that is only found when its time has come.
struct Postponed
{
    std::chrono::milliseconds delay{0};
    std::function<Answer()> answer;
};

/// What the stand does about a request.
struct Reaction
{
    std::variant<Answer, Delivery, Postponed> what;
    /// From now on nobody listens for so long.
    std::chrono::milliseconds portClosedFor{0};
};

/// The answer as HTTP has it; afterwards the connection is closed.
[[nodiscard]] QByteArray headOf(const Answer& answer, qint64 contentLength);

} // namespace stand
