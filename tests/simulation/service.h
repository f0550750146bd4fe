#pragma once

#include "stand/books/database.h"
#include "stand/service/service.h"
#include "stand/service/terms.h"

#include <QDateTime>
#include <QStringList>
#include <QVariantMap>

namespace simulation {

/// The service with its books, without a server: requests come by the network of the simulation.
class Service
{
public:
    /// A forgetful one says now and then that it has done what it was asked, and has not.
    explicit Service(bool isForgetful)
        : m_isForgetful(isForgetful)
    {}

    /// What it answers at that time, after it has done what it was asked for.
    stand::Answer answer(const stand::Request& request, const QDateTime& time);

    [[nodiscard]] const QString& user() const { return m_credentials.user; }
    [[nodiscard]] const QString& password() const { return m_credentials.password; }
    /// The header of who may ask.
    [[nodiscard]] QByteArray authorization() const;
    void setPassword(const QString& password) { m_credentials.password = password; }
    /// The last code that was sent to a customer; empty: none was.
    [[nodiscard]] QString lastCode() const;

    /// As GET /stand/ledger has it.
    [[nodiscard]] QVariantMap ledger();
    /// What is wrong with the books taken for themselves.
    [[nodiscard]] QStringList violations();
    /// What the statement finds in its books.
    [[nodiscard]] QList<QVariantList> rows(const QString& statement);

private:
    bool m_isForgetful;
    int m_answers = 0;
    stand::Credentials m_credentials;
    stand::Database m_database{QString()};
    stand::Service m_service{m_database, {}, {.fixedCode = {}, .areTold = false}};
};

} // namespace simulation
