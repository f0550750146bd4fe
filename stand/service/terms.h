#pragma once

#include "stand/books/money.h"
#include "stand/service/codes.h"

#include <QString>

namespace stand {

/// What the shop presents itself with.
struct Credentials
{
    QString user = QStringLiteral("shop");
    QString password = QStringLiteral("secret-of-the-shop");
};

/// What is set for all customers alike.
struct Terms
{
    Tariff tariff;
    CodeRules codes;
};

} // namespace stand
