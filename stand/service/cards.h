#pragma once

#include "stand/http/http.h"

#include <QString>

namespace stand {

class Accounts;

/// What the service tells of cards and their customers. Throws DatabaseError, and ApiError for an unknown
/// card.
class Cards
{
public:
    explicit Cards(Accounts& accounts)
        : m_accounts(accounts)
    {}

    /// The card number and the phone in a segment of a path; throw ApiError for one of the wrong form.
    static QString number(const QByteArray& segment);
    static QString phone(const QByteArray& segment);

    Answer cardInfo(const QString& number);
    Answer userAccount(const QString& number);
    Answer userInfoByCard(const QString& number);
    Answer userInfoByPhone(const QString& phone);

private:
    Accounts& m_accounts;
};

} // namespace stand
