#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace test_support {

/// Stands between a till and a service on loopback, and passes on what it gets; but each fault that it was
/// told of happens once, to the next request whose path ends so. One exchange at a time, in a thread of its
/// own.
class LossyProxy
{
public:
    /// `service` is the service's base URL.
    explicit LossyProxy(const QByteArray& service);
    ~LossyProxy();
    LossyProxy(const LossyProxy&) = delete;
    LossyProxy& operator=(const LossyProxy&) = delete;

    [[nodiscard]] QString url() const;

    /// The service gets the request and acts on it, but its answer never comes.
    void loseAnswer(const QByteArray& pathEnd);
    /// The service gets the request; what comes back is a 200 with this body.
    void replaceAnswer(const QByteArray& pathEnd, const QByteArray& body);
    /// The service does not get the request; what comes back has this status and body.
    void answerInstead(const QByteArray& pathEnd, int status, const QByteArray& body = "{}");

    /// What goes to the service in the place of each request from now on: as long as it, byte for byte. The
    /// function is called in the proxy's thread.
    void passOnAs(std::function<QByteArray(const QByteArray& request)> change);

    /// How many requests whose path ends so came to the service.
    [[nodiscard]] int passed(const QByteArray& pathEnd) const;

private:
    class Worker;
    std::unique_ptr<Worker> m_worker;
};

} // namespace test_support
