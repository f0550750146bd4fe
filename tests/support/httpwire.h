#pragma once

#include <openssl/types.h>

#include <QByteArray>

#include <chrono>
#include <memory>

namespace test_support {

/// The server's end of one accepted connection, plain or TLS. Every wait ends at once when the server stops:
/// the stop descriptor becomes readable then, for all connections and for good.
class HttpWire
{
public:
    /// Takes the socket over; context is null for plain TCP.
    HttpWire(int socket, int stop, SSL_CTX* context);
    HttpWire(const HttpWire&) = delete;
    HttpWire& operator=(const HttpWire&) = delete;
    ~HttpWire();

    /// Each says whether the connection can go on: false when the peer has left or the server stops.
    bool handshake();
    bool readSome(QByteArray& into);
    bool write(QByteArrayView bytes);
    bool pause(std::chrono::milliseconds time);

    /// Has the destructor break the connection off with a reset instead of an orderly end.
    void breakOff();

private:
    bool wait(short events, int milliseconds);
    bool waitFor(int sslResult);

    struct FreeSsl
    {
        void operator()(SSL* ssl) const;
    };

    int m_socket;
    int m_stop;
    bool m_orderly = true;
    std::unique_ptr<SSL, FreeSsl> m_ssl;
};

} // namespace test_support
