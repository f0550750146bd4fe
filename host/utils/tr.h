#pragma once

#include "host/utils/export.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

namespace tr {

/// A text for the cashier: an identifier under which the host finds translations, and the Russian default.
class HOST_EXPORT Tr
{
public:
    Tr() = default;
    /// The identifier and the Russian text, which may hold "%1".
    Tr(const QString& id, const QString& text)
        : m_id(id)
        , m_ru(text)
    {}

    /// A text that nobody translates, such as one that the service sent: its identifier is "undefined".
    [[nodiscard]] static Tr untranslated(const QString& text);

    /// Under which the host finds translations; empty for an empty text.
    [[nodiscard]] QString id() const { return m_id; }
    /// The Russian text.
    [[nodiscard]] QString ru() const { return m_ru; }
    /// Whether there is nothing to show.
    [[nodiscard]] bool isEmpty() const { return m_ru.isEmpty(); }

    /// This text with `value` in place of its lowest-numbered placeholder ("%1"). The value is put in as it
    /// is, but a "%1" inside it is a placeholder to the next call: in a chain, such a value comes last.
    [[nodiscard]] Tr arg(const QString& value) const { return {m_id, m_ru.arg(value)}; }

    /// The text wrapped in a variant, as an argument of an event carries it.
    operator QVariant() const { return QVariant::fromValue(*this); } // NOLINT(google-explicit-constructor)

    /// Equal in identifier and text.
    bool operator==(const Tr&) const = default;

private:
    QString m_id;
    QString m_ru;
};

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
