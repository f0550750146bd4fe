#pragma once

#include "host/utils/export.h"

#include <QString>

namespace network {

/// What became of an exchange. This is all that its code proves; what follows from it is for each to decide:
/// a queue asks whether another try can help, a spending whether points may have moved, a window whether the
/// line is up, and they rightly differ. Hence two kinds of "never sent", three of "rejected", three of "try
/// later".
enum class ExchangeOutcome {
    Accepted,      ///< 2xx, in the service's own form
    Unsendable,    ///< never sent, and never will be: the address or a header is unfit
    NeverSent,     ///< TLS found nobody to trust: nothing left, another time it may
    NoAnswer,      ///< none came; the service may have acted on the request
    NotTheService, ///< a redirect, no JSON or half an answer; the service may have acted all the same
    Rejected,      ///< 400, 409, 422: what the request says was judged, and refused
    Unauthorized,  ///< 401: user and password are not taken; the request was not looked at
    Forbidden,     ///< 403: this caller may not, whatever the request says
    Denied,        ///< any other 4xx: refused for what it is, perhaps by somebody on the way
    Unfinished,    ///< 408, 425: given up on the way, so try later; how far it came is not known
    Throttled,     ///< 429: not looked at, so try later
    Failing,       ///< 5xx: try later; the service, or a proxy in its place, failed at any point
};

/// The outcome of an exchange with that code of RestClient's, which is all that is kept of most.
[[nodiscard]] HOST_EXPORT ExchangeOutcome outcomeOf(int code);

/// The code of an exchange that was answered with that HTTP status; 0: no answer came. `readable`: the body
/// of a 2xx can be the service's.
[[nodiscard]] HOST_EXPORT int codeOf(int status, bool readable);

/// Whether the code is the HTTP status of an error, and not a word of RestClient's own.
[[nodiscard]] HOST_EXPORT bool isErrorStatus(int code);

/// RestClient's own word for a failure, "Timeout"; empty for success and for an HTTP status.
[[nodiscard]] HOST_EXPORT QString failureName(int code);

/// What happened, in the administrator's words: "no answer in time", "HTTP 503".
[[nodiscard]] HOST_EXPORT QString failureText(int code);

} // namespace network
