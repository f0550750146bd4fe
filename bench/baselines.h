#pragma once

#include <string>

/// The same exchange done by hand: connect, send the request, read the answer by its Content-Length, close.
/// False when no whole 200 came.
bool rawExchange(int port, const std::string& request);

/// The same exchange on a libcurl easy handle per request, which reads the CA bundle each time. An empty body
/// makes it a GET.
bool curlExchange(const std::string& url, const std::string& body, const std::string& bundle);
