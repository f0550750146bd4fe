#include "stand/http/delivery.h"

#include <algorithm>
#include <array>

namespace stand {

namespace {

/// Of the statuses that the stand answers with; any other goes without, as HTTP allows.
QByteArray reasonOf(int status)
{
    static constexpr std::array reasons = {
        std::pair{200, "OK"},
        std::pair{301, "Moved Permanently"},
        std::pair{302, "Found"},
        std::pair{303, "See Other"},
        std::pair{307, "Temporary Redirect"},
        std::pair{308, "Permanent Redirect"},
        std::pair{400, "Bad Request"},
        std::pair{401, "Unauthorized"},
        std::pair{403, "Forbidden"},
        std::pair{404, "Not Found"},
        std::pair{405, "Method Not Allowed"},
        std::pair{409, "Conflict"},
        std::pair{413, "Content Too Large"},
        std::pair{422, "Unprocessable Entity"},
        std::pair{429, "Too Many Requests"},
        std::pair{500, "Internal Server Error"},
        std::pair{502, "Bad Gateway"},
        std::pair{503, "Service Unavailable"},
        std::pair{504, "Gateway Timeout"},
    };
    const auto* const found = std::find_if(reasons.begin(), reasons.end(),
                                           [status](const auto& pair) { return pair.first == status; });
    return found == reasons.end() ? "" : found->second;
}

} // namespace

QByteArray headOf(const Answer& answer, qint64 contentLength)
{
    auto head = "HTTP/1.1 " + QByteArray::number(answer.status) + ' ' + reasonOf(answer.status) + "\r\n";
    if (!answer.body.isEmpty() || contentLength > 0)
        head += "Content-Type: " + answer.contentType + "\r\n";
    for (const auto& [name, value] : answer.headers)
        head += name + ": " + value + "\r\n";
    return head + "Content-Length: " + QByteArray::number(contentLength) + "\r\nConnection: close\r\n\r\n";
}

} // namespace stand
