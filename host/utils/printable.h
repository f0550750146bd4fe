#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QString>

/// Texts that somebody else wrote (the service, a file, whoever typed them) on their way to a terminal, a
/// window or a file of lines. A terminal obeys control characters; some turn the order of what is read, or
/// end a line where none should. These are: controls (C0, DEL, C1), line and paragraph separators, surrogates
/// without their other half, and everything invisible that formats, such as U+202E, but for the joiners and
/// the soft hyphen that words are written with.
namespace utils {

/// The text as one line: each such character, line feeds too, is shown as U+FFFD.
HOST_EXPORT QString printable(const QString& text);

/// The same, but line feeds stay, with the indent behind each: where a line means something, indented ones
/// cannot pass for a line of their own.
HOST_EXPORT QString printableLines(const QString& text, const QString& indent = {});

/// JSON with the same value, in which such characters are written as escapes. Between its values the line
/// feeds stay.
HOST_EXPORT QString printableJson(const QByteArray& json);

} // namespace utils
