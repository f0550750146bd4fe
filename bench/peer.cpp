#include "bench/peer.h"

#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

constexpr std::string_view answer =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 26\r\n"
    "\r\n{\"points\":125000,\"n\":1234}";

std::size_t bodySize(std::string_view head)
{
    constexpr std::string_view name = "Content-Length: ";
    std::size_t size = 0;
    if (const auto at = head.find(name); at != std::string_view::npos)
        std::from_chars(head.data() + at + name.size(), head.data() + head.size(), size);
    return size;
}

enum class Request {
    None,
    Last,
    OneOfMany,
};

template <typename Read>
Request readRequest(Read read)
{
    std::string received;
    std::array<char, 8192> bytes{};
    for (;;) {
        const auto count = read(bytes.data(), bytes.size());
        if (count <= 0)
            return Request::None;
        received.append(bytes.data(), static_cast<std::size_t>(count));
        const auto headEnd = received.find("\r\n\r\n");
        if (headEnd != std::string::npos && received.size() >= headEnd + 4 + bodySize(received))
            return received.find("Connection: close\r\n") < headEnd ? Request::Last : Request::OneOfMany;
    }
}

template <typename Read, typename Write>
void answerAll(Read read, Write write)
{
    for (Request request = Request::OneOfMany; request == Request::OneOfMany;) {
        request = readRequest(read);
        if (request != Request::None)
            write();
    }
}

void serve(int socket, SSL_CTX* context)
{
    if (context) {
        SSL* ssl = SSL_new(context);
        SSL_set_fd(ssl, socket);
        const auto read = [ssl](char* to, std::size_t size) {
            return SSL_read(ssl, to, static_cast<int>(size));
        };
        if (SSL_accept(ssl) == 1) {
            answerAll(read, [ssl] { SSL_write(ssl, answer.data(), static_cast<int>(answer.size())); });
            SSL_shutdown(ssl);
        }
        SSL_free(ssl);
    } else {
        answerAll([socket](char* to, std::size_t size) { return recv(socket, to, size, 0); },
                  [socket] { send(socket, answer.data(), answer.size(), MSG_NOSIGNAL); });
    }
    close(socket);
}

[[noreturn]] void serveForever(int listener, const test_support::Certificate* certificate)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (std::signal(SIGPIPE, SIG_IGN) == SIG_ERR)
        std::_Exit(1);
    SSL_CTX* context = nullptr;
    if (certificate) {
        context = SSL_CTX_new(TLS_server_method());
        SSL_CTX_use_certificate(context, certificate->certificate());
        SSL_CTX_use_PrivateKey(context, certificate->key());
    }
    // Threads that accept by themselves, more than there are connections at once: starting one for each would
    // cost more than the exchange.
    const auto work = [listener, context] {
        for (;;) {
            const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket >= 0)
                serve(socket, context);
        }
    };
    std::array<std::thread, 7> others;
    for (std::thread& other : others)
        other = std::thread(work);
    work();
    std::_Exit(0);
}

} // namespace

Peer::Peer(const test_support::Certificate* certificate)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, generic, size) != 0 || listen(listener, 128) != 0 ||
        getsockname(listener, generic, &size) != 0) {
        std::perror("The peer cannot listen");
        std::exit(2);
    }
    m_port = ntohs(address.sin_port);
    m_process = fork();
    if (m_process == 0)
        serveForever(listener, certificate);
    close(listener);
}

Peer::~Peer()
{
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}
