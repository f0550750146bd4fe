#pragma once

#include "host/utils/export.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

namespace tr {

/// A text for the cashier: an identifier under which the host finds translations, and the Russian default.
/// Translations are Qt's own, by identifier: whoever runs the application installs a QTranslator.
class HOST_EXPORT Tr
{
public:
    Tr() = default;
    /// The identifier and the Russian text, which may hold "%1".
    Tr(const QString& id, const QString& text)
        : m_id(id)
        , m_ru(text)
    {}

    /// A text without an identifier of its own, such as one that the service sent: its identifier is
    /// "undefined", and only a translation of the very text would show it in another language.
    [[nodiscard]] static Tr untranslated(const QString& text);

    /// Under which the host finds translations; empty for an empty text.
    [[nodiscard]] QString id() const { return m_id; }
    /// The Russian text: for logs and the service, whatever language the screen speaks.
    [[nodiscard]] QString ru() const { return m_ru; }
    /// The text for the screen: in the language whose translator is installed, Russian where there is no
    /// translation.
    [[nodiscard]] QString shown() const;
    /// Whether there is nothing to show.
    [[nodiscard]] bool isEmpty() const { return m_ru.isEmpty(); }

    /// This text with the values in place of its lowest-numbered placeholders, all at once ("%1", "%2"). A
    /// value is a QString, or a text, which is put in as the Russian and the shown form each have it. A "%1"
    /// inside a value is a placeholder to the next call.
    template <typename... Values>
    [[nodiscard]] Tr arg(const Values&... values) const
    {
        return {m_id, m_ru.arg(russian(values)...), shown().arg(screened(values)...)};
    }

    /// The texts one behind the other, with that between them; its identifier is empty.
    [[nodiscard]] static Tr joined(const QList<Tr>& texts, const QString& separator);

    /// The text wrapped in a variant, as an argument of an event carries it.
    operator QVariant() const { return QVariant::fromValue(*this); } // NOLINT(google-explicit-constructor)

    /// Equal in identifier and text.
    bool operator==(const Tr& other) const { return m_id == other.m_id && m_ru == other.m_ru; }

private:
    Tr(const QString& id, const QString& russian, const QString& shown)
        : m_id(id)
        , m_ru(russian)
        , m_shown(shown)
    {}
    static QString russian(const QString& value) { return value; }
    static QString russian(const Tr& value) { return value.ru(); }
    static QString screened(const QString& value) { return value; }
    static QString screened(const Tr& value) { return value.shown(); }

    QString m_id;
    QString m_ru;
    QString m_shown; ///< null: as the translator has it
};

/// The text of that identifier for the screen, to be filled with `arg`.
HOST_EXPORT QString shown(const QString& id, const QString& russian);

/// A list of texts, such as the items of a choice.
class HOST_EXPORT TrList : public QList<Tr>
{
public:
    TrList() = default;
    /// Each text of the list untranslated, in the same order.
    explicit TrList(const QList<QString>& texts);
};

} // namespace tr

Q_DECLARE_METATYPE(tr::Tr)
