#include "bench/baselines.h"

#include <curl/curl.h>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace {

std::size_t append(const char* data, std::size_t /*one*/, std::size_t size, void* user)
{
    static_cast<std::string*>(user)->append(data, size);
    return size;
}

bool isWhole(std::string_view answer)
{
    constexpr std::string_view name = "Content-Length: ";
    const auto at = answer.find(name);
    const auto headEnd = answer.find("\r\n\r\n");
    if (at == std::string_view::npos || headEnd == std::string_view::npos)
        return false;
    std::size_t size = 0;
    std::from_chars(answer.data() + at + name.size(), answer.data() + headEnd, size);
    return answer.size() >= headEnd + 4 + size;
}

} // namespace

bool rawExchange(int port, const std::string& request)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    std::string answer;
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        send(socket, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size())) {
        std::array<char, 8192> bytes{};
        for (ssize_t count = 0;
             !isWhole(answer) && (count = recv(socket, bytes.data(), bytes.size(), 0)) > 0;)
            answer.append(bytes.data(), static_cast<std::size_t>(count));
    }
    close(socket);
    return answer.starts_with("HTTP/1.1 200") && isWhole(answer);
}

bool curlExchange(const std::string& url, const std::string& body, const std::string& bundle)
{
    std::string answer;
    CURL* handle = curl_easy_init();
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_CAINFO, bundle.c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &answer);
    if (!body.empty()) {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
    }
    const CURLcode result = curl_easy_perform(handle);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(handle);
    return result == CURLE_OK && status == 200 && !answer.empty();
}
