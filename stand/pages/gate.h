#pragma once

#include "stand/http/http.h"

#include <QHostAddress>
#include <QStringList>

#include <optional>

namespace stand {

/// Keeps other people's web pages away from the stand's own ones, which ask for no password: a browser on
/// this machine sends here whatever any page has it send.
class Gate
{
public:
    /// `address` is the one listened on; `names` are those that the stand goes by besides localhost.
    Gate(const QHostAddress& address, const QStringList& names)
        : m_address(address)
        , m_names(names)
    {}

    /// Why the request is refused; nothing for one of the stand's own page, or of no page at all.
    [[nodiscard]] std::optional<Answer> refusal(const Request& request) const;

private:
    [[nodiscard]] bool isOwn(const QByteArray& host) const;

    QHostAddress m_address;
    QStringList m_names;
};

} // namespace stand
