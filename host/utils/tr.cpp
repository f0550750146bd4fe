#include "host/utils/tr.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace tr {

namespace {

const QString undefined = u"undefined"_s;

} // namespace

Tr Tr::untranslated(const QString& text) { return {undefined, text}; }

QString Tr::shown() const
{
    const QString key = m_id == undefined ? m_ru : m_id;
    QString text = qtTrId(key.toUtf8().constData());
    if (text == key) // nobody translates it
        return m_ru;
    for (const QString& value : m_screened)
        text = text.arg(value);
    return text;
}

Tr Tr::arg(const QString& value) const
{
    Tr filled(m_id, m_ru.arg(value));
    filled.m_screened = m_screened + QStringList(value);
    return filled;
}

Tr Tr::arg(const Tr& value) const
{
    Tr filled = arg(value.ru());
    filled.m_screened.last() = value.shown();
    return filled;
}

QString shown(const QString& id, const QString& russian) { return Tr(id, russian).shown(); }

TrList::TrList(const QList<QString>& texts)
{
    reserve(texts.size());
    for (const QString& text : texts)
        append(Tr::untranslated(text));
}

} // namespace tr
