#pragma once

#include <QJsonArray>
#include <QString>
#include <QStringList>

namespace faulttest {

/// What an exchange proves that met a fault, whatever was asked for.
enum class Proof {
    Done,        ///< the service's own answer came, if slowly
    Hollow,      ///< an answer in the service's form came, without what it should tell
    Unknown,     ///< the service may have acted on the request, or still may
    NotNow,      ///< 429: it was not looked at, and may be later
    Credentials, ///< 401: it was not looked at, nor will anything be with this user and password
    Denied,      ///< 403, 404: it is not for the asking, perhaps in the eyes of somebody on the way
    Rejected,    ///< 400, 409, 422: what it asks for was judged, and refused
};

/// One of the stand's faults with its settings, and what must come of it by the contract.
struct Strike
{
    enum class Verb { Any, Get, Post };

    QString kind;
    QString settings; ///< "ms=100"
    Proof proof = Proof::Unknown;
    int code = 0;          ///< that the exchange ends with: an HTTP status, or a word of the host's client
    QString reason = {};   ///< what the administrator reads of it
    bool hasWords = false; ///< whether the answer has the service's error texts
    Verb verb = Verb::Any; ///< that it comes to this with
    bool closesTheDoor = false; ///< before the call comes, which then meets a refused connection
    QString when = {};          ///< "before" or "after" the operation takes effect

    [[nodiscard]] QString name() const; ///< "late:ms=100,when=before"
    /// The same for the stand, to strike that operation, which is the how many-th request from now on.
    [[nodiscard]] QString at(const QString& operation, int request) const;
    /// Whether the till takes it for done.
    [[nodiscard]] bool isAnswered() const { return proof == Proof::Done || proof == Proof::Hollow; }
    /// Whether the queue sets the message aside.
    [[nodiscard]] bool parks() const { return proof == Proof::Denied || proof == Proof::Rejected; }
    /// Whether the operation took effect before the cashier had the answer.
    [[nodiscard]] bool tookEffect() const;
    /// Whether the operation takes effect when the client has gone already.
    [[nodiscard]] bool comesLate() const;
    /// What the cashier reads of an exchange that failed so.
    [[nodiscard]] QString toCashier() const;
    /// What the administrator reads of a message that failed so.
    [[nodiscard]] QString toAdministrator() const;
};

/// The kinds of fault whose outcome is known here.
QStringList knownKinds();

/// Each of the stand's kinds with each of its settings that makes a difference, before and after where the
/// stand knows both. `kinds` are as the stand tells them.
QList<Strike> strikesOf(const QJsonArray& kinds, Strike::Verb verb);

} // namespace faulttest
