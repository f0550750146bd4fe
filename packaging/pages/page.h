#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

/// What manuals and completions are made of: templates with places ("@OPTIONS@") that a program fills from
/// the very table that it works by.
namespace pages {

/// What comes in a place of the template, "OPTIONS", line by line.
using Places = QHash<QString, QStringList>;

/// A line of text in which troff finds nothing to obey.
QString plain(const QString& line);
/// The same, with a line for each sentence, as troff wants it.
QString sentences(const QString& line);

/// An option as an item of a list; the names of one letter are short ones. `value`: what stands for it, or
/// nothing.
QStringList optionEntry(const QStringList& names, const QString& value, const QString& about);

/// The words as alternatives of a shell's case.
QStringList alternatives(const QStringList& words);

/// Prints the template with its places filled; the status of the program.
int print(const QByteArray& fileName, const Places& places);

} // namespace pages
