#pragma once

#include "tests/support/certificate.h"

#include <sys/types.h>

/// A blocking HTTP server in a process of its own, so that neither its memory nor its locks are measured. It
/// gives the same small JSON to every request, and closes when it is asked to.
class Peer
{
public:
    /// Starts it on loopback; with a certificate it speaks TLS. To be made before any thread of this process.
    explicit Peer(const test_support::Certificate* certificate);
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer();

    [[nodiscard]] int port() const { return m_port; }

private:
    int m_port = 0;
    pid_t m_process = -1;
};
