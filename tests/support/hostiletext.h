#pragma once

#include <QByteArray>
#include <QString>

#include <string>

namespace test_support {

/// A text as a service that means no good would send it: it clears the screen, begins a link, rings, ends a C
/// string, begins a C1 sequence, writes over, turns round, and forges a line of the log.
QString hostileText();

/// The same as it is to be shown in one line or several.
QString hostileTextAsShown();

/// A text as JSON.
QByteArray jsonText(const QString& text);

/// What in these bytes belongs neither into a terminal nor into a file of lines, in hexadecimal; empty when
/// all is well.
std::string unprintableIn(const QByteArray& bytes);

} // namespace test_support
