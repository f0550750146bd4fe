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
    if (!m_shown.isNull())
        return m_shown;
    const QByteArray key = (m_id == undefined ? m_ru : m_id).toUtf8();
    const QString text = qtTrId(key.constData());
    // The key itself where nobody translates it, up to a NUL that a stranger's text may hold.
    return text == QString::fromUtf8(key.constData()) ? m_ru : text;
}

Tr Tr::joined(const QList<Tr>& texts, const QString& separator)
{
    QStringList russian;
    QStringList shown;
    for (const Tr& text : texts) {
        russian.append(text.ru());
        shown.append(text.shown());
    }
    return {{}, russian.join(separator), shown.join(separator)};
}

QString shown(const QString& id, const QString& russian) { return Tr(id, russian).shown(); }

TrList::TrList(const QList<QString>& texts)
{
    reserve(texts.size());
    for (const QString& text : texts)
        append(Tr::untranslated(text));
}

} // namespace tr
