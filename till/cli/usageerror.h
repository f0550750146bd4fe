#pragma once

#include <QString>

#include <stdexcept>

namespace till {

/// What was asked can't be done: wrong usage, an unreadable file, no plug-in, no service. The text is English
/// for the administrator, a line per problem; the program ends with exit status 2.
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& text)
        : std::runtime_error(text.toStdString())
    {}
};

} // namespace till
