#pragma once

#include <QJsonDocument>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTextStream>

namespace till {

/// Where a tool of the administrator speaks: either lines to be read, or one JSON value, on the standard
/// output; on the way to it, progress on the standard error.
class Console
{
public:
    enum class Colour { None = 0, Bold = 1, Dim = 2, Red = 31, Green = 32, Yellow = 33 };

    explicit Console(bool json);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    [[nodiscard]] bool json() const { return m_json; }

    /// Lines to be read; nothing where JSON is wanted. What a terminal must not get is replaced.
    void line(const QString& text = {}, Colour colour = Colour::None);
    /// Columns below a heading.
    void table(const QStringList& heading, const QList<QStringList>& rows, const QSet<qsizetype>& right = {});
    /// The one JSON value; nothing where lines are wanted. What a terminal must not get is written as
    /// escapes.
    void value(const QJsonDocument& document);

    /// How far something has come. On a terminal one line is written over again; else each call is a line of
    /// its own.
    void progress(const QString& text);

    /// Asks on the terminal; false is "no". Only where there is a terminal on both sides.
    bool confirmed(const QString& question);
    [[nodiscard]] static bool canAsk();

private:
    void clearProgress();

    QTextStream m_out;
    QTextStream m_err;
    bool m_json;
    bool m_colours;
    bool m_terminal; ///< whether the standard error is one
    bool m_progressing = false;
};

} // namespace till
