#pragma once

#include "host/utils/export.h"
#include "host/utils/mockfactory.h"
#include "host/utils/registration.h"

#include <QByteArray>
#include <QHash>
#include <QJsonDocument>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>

#include <functional>

/// What went over the wire in one exchange, for a front end that shows it on request. The bodies are as sent
/// and received: they hold personal data and the SMS code, so whoever shows or keeps them must redact them
/// first. Headers are left out on purpose, they carry the credentials; so is the user info of the URL, and
/// stars take the place of credentials that the answer's JSON repeats.
struct RestExchange
{
    QString method;          ///<"GET", "POST" or "PUT"
    QUrl url;                ///< without user info
    QByteArray requestBody;  ///< as sent; empty when there was none
    int status = 0;          ///< HTTP status of the answer, 0 when there was none
    int errorCode = 0;       ///< what getErrorCode() says of this exchange
    QByteArray answerBody;   ///< empty when the answer was cut short or refused
    qint64 milliseconds = 0; ///< from the call to the last byte of the answer
};

/// Looks after the requests of one thread, for a host that must have something on disk before the service can
/// have seen it. An empty function is skipped. Of several, each is called, in the order of their coming, and
/// the shortest time holds.
struct RestGuard
{
    /// Called just before a request leaves. When it throws, nothing is sent, no other guard is called, and
    /// the exception goes to whoever made the request; the client then says Connect.
    std::function<void(const QString& method, const QUrl& url)> departing;
    /// Called when the request is over; must not throw.
    std::function<void(const RestExchange& exchange)> answered;
    /// The longest that an exchange may take, whatever its client allows; 0: as long as that.
    int secondsAtMost = 0;
};

/// Sends one HTTP or HTTPS request at a time and waits for its answer. After get(), post() or put() returns,
/// getErrorCode() and getResponse() tell the outcome; each request starts from nothing: a new connection, no
/// cookies, no redirects, no compression, no proxy (the service is reached directly or on loopback, and an
/// http_proxy left in the environment must not see customers' data).
///
/// Success is deliberately narrow. A redirect, or a 2xx that is not JSON, is what a captive portal or a
/// misconfigured proxy sends: taken for success, it would make an operation believed done that the service
/// never saw, and the customer would lose points. So would an empty 2xx to a POST or PUT, which the service
/// answers with a JSON object whatever it was asked.
///
/// Certificates are checked against the system's trusted ones (SSL_CERT_FILE and SSL_CERT_DIR are honoured),
/// read once in the life of the process. An object belongs to one thread at a time; different objects may
/// work at once.
class HOST_EXPORT RestClient : public QObject
{
    Q_OBJECT

public:
    /// Why there is no usable answer. All lie below 100, so they never meet an HTTP status. Only Tls, BadUrl
    /// and BadHeader prove that the service did not get the request; after any other it may have acted on it.
    enum class ErrorCode : int {
        None = 0,
        Connect = 1, ///< no answer: name not resolved, refused, no route, closed before the first line of one
        Timeout = 2, ///< the exchange was not over within the time set
        Tls = 3,     ///< certificate not trusted or for another host, handshake failed
        BrokenAnswer = 4, ///< not HTTP, cut short, or 2xx with a body that is not the service's JSON
        TooLarge = 5,     ///< a body over 8 MiB, or headers over 256 KiB
        Redirect = 6,     ///< 3xx: somebody other than the service answered
        BadUrl = 7,       ///< not a valid http or https URL; nothing was sent
        BadHeader = 8, ///< a header's name or value has characters that could forge another; nothing was sent
    };
    Q_ENUM(ErrorCode)

    static constexpr int defaultTimeout = 10;   ///< seconds
    static constexpr int longestTimeout = 3600; ///< seconds

    RestClient() = default;

    /// Seconds for the whole of an exchange, from name resolution to the last byte. A till must never hang,
    /// so there is no "unlimited": 0 or less means defaultTimeout, more than longestTimeout means
    /// longestTimeout.
    virtual void setTimeout(int seconds);
    /// The seconds that setTimeout() makes of these.
    [[nodiscard]] static int timeoutOf(int seconds);

    /// GET; a document that is not empty is sent as its compact JSON.
    virtual void get(const QUrl& url, const QJsonDocument& document, const QHash<QString, QString>& headers);

    /// POST and PUT send the body byte for byte. Where the headers have no Content-Type, a body is said to be
    /// "application/json".
    virtual void post(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers);
    /// As post().
    virtual void put(const QUrl& url, const QByteArray& body, const QHash<QString, QString>& headers);

    /// The body of the last answer, parsed from JSON (QVariantMap, QVariantList, text, double or whole
    /// number, bool, null); that of an error status as well, with stars in place of the request's
    /// credentials. Invalid when there is none or it is not JSON.
    [[nodiscard]] virtual QVariant getResponse() const;

    /// 0 after a 2xx whose body is a JSON object, or to a GET any JSON or empty; the HTTP status when it is
    /// 400 or more, else an ErrorCode.
    [[nodiscard]] virtual int getErrorCode() const;

    /// Calls the observer after each exchange of the process, in the thread that made it, for as long as the
    /// registration lives; so it does every other. May be called, and ended, in any thread; an exchange that
    /// is over at that moment may still reach the observer.
    static utils::Registration observe(std::function<void(const RestExchange&)> observer);

    /// Has the guard look after the requests of the thread that calls this, for as long as the registration
    /// lives; those of other threads are none of its business.
    static utils::Registration guard(RestGuard guard);

private:
    void exchange(const QByteArray& method, const QUrl& url, const QByteArray& body,
                  const QHash<QString, QString>& headers);

    int m_timeout = defaultTimeout;
    int m_errorCode = 0;
    QVariant m_response;
};

extern template class HOST_EXPORT MockFactory<RestClient>;
