#pragma once

#include "host/utils/tr.h"

#include <stdexcept>

/// Base of every failure that the host can show to the cashier: carries the text to show.
class HOST_EXPORT BasicException : public std::runtime_error
{
public:
    /// `what()` is the text's Russian form in UTF-8.
    explicit BasicException(const tr::Tr& text);
    /// The copy has the same text.
    BasicException(const BasicException&) = default;
    /// Takes the text over.
    BasicException& operator=(const BasicException&) = default;
    ~BasicException() override;

    /// The text for the cashier.
    [[nodiscard]] const tr::Tr& tr() const { return m_text; }

private:
    tr::Tr m_text;
};
