#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QMap>

#include <optional>

namespace standtest {

struct Login
{
    QByteArray user = QByteArrayLiteral("shop");
    QByteArray password = QByteArrayLiteral("secret-of-the-shop");
};

struct Call
{
    QByteArray url; ///< Sent as it stands: neither encoded nor decoded.
    QByteArray method = QByteArrayLiteral("GET");
    std::optional<Login> login = std::nullopt;
    QByteArray body = {};
    QList<QByteArray> headers = {}; ///< "Name: value"
    int patienceMs = 20'000;
};

struct Reply
{
    int status = 0;                       ///< 0: there was no whole answer.
    int error = 0;                        ///< The CURLcode.
    QMap<QByteArray, QByteArray> headers; ///< Names in lower case.
    QByteArray body;

    [[nodiscard]] QJsonValue json() const;     ///< The whole body; undefined when it is no JSON.
    [[nodiscard]] QJsonObject data() const;    ///< The success envelope's object.
    [[nodiscard]] QJsonArray messages() const; ///< The "message" members of the error envelope.
};

Reply send(const Call& call);

} // namespace standtest
