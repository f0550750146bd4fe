#pragma once

#include "stand/http/http.h"

#include <QJsonArray>
#include <QJsonObject>

namespace stand {

/// A page of the stand's own: the object as it is, without the service's envelope.
Answer page(const QJsonObject& content);
Answer page(const QJsonArray& content);

/// The service's success envelope: {"data": {...}}.
Answer success(const QJsonObject& data);

/// The service's error envelope with one text: {"data": [{"message": "text"}]}.
Answer failure(int status, const QString& message);

/// The error envelope with several error objects, or with messages that are objects.
Answer failure(int status, const QJsonArray& messages);

/// An answer that was given before, byte for byte.
Answer repeated(const QByteArray& body);

Answer wrongMethod(const QByteArray& method, const QByteArray& allowed);

/// Thrown where a request cannot be served: the answer says why. Thrown only before anything is written.
struct ApiError
{
    Answer answer;

    ApiError(int status, const QString& message)
        : answer(failure(status, message))
    {}
    explicit ApiError(Answer complete)
        : answer(std::move(complete))
    {}
    explicit ApiError(const QJsonObject& textsByField)
        : answer(failure(422, QJsonArray{textsByField}))
    {}
};

} // namespace stand
