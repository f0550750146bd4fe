#pragma once

#include "host/utils/basicexception.h"

/// The one failure type of this system: the service client throws it, the adapter turns it into the host's
/// last error. Carries the text for the cashier.
class KyrLoyaltyException : public BasicException
{
public:
    explicit KyrLoyaltyException(const tr::Tr& text)
        : BasicException(text)
    {}
    /// For a text that came ready from the service.
    explicit KyrLoyaltyException(const QString& text)
        : BasicException(tr::Tr::untranslated(text))
    {}
    KyrLoyaltyException(const KyrLoyaltyException&) = default;
    KyrLoyaltyException& operator=(const KyrLoyaltyException&) = default;
    ~KyrLoyaltyException() override = default;
};
