#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace pagetest {

/// What a page has between two fences, without its indent.
struct Block
{
    QString page;     ///< its path in the repository
    QString heading;  ///< of the section that it is in
    QString language; ///< "sh", "console", "text", "toml" …
    QString notTyped; ///< why the tests leave it alone, in the page's words; empty when they do not
    QStringList lines;
    int line = 0; ///< of the page, where it begins

    /// Whether the tests have to type it, or to see it said.
    [[nodiscard]] bool isForTests() const;
    [[nodiscard]] QString place() const; ///< "docs/service.md:11"
};

/// Commands, and what the page says that they answer.
struct Exchange
{
    QStringList commands;
    QStringList answer;
};

/// All pages of the repository.
QStringList pages();

QString contentOf(const QString& page);

QList<Block> blocksIn(const QString& text, const QString& page);

/// The lines that markdown takes for a block because of their indent; nobody can say what such a block holds.
QStringList indentedIn(const QString& text, const QString& page);

/// Of a "console" block each "$ command" with the lines up to the next; of a "sh" block the commands up to a
/// "# line", which is what the last of them answers.
QList<Exchange> exchangesOf(const Block& block);

/// Those lines with room for what is different each time: times, sizes, ports, versions, what Qt and curl
/// say.
QStringList comparable(const QString& text);

} // namespace pagetest
