#include "host/utils/tr.h"

using namespace Qt::StringLiterals;

namespace tr {

Tr Tr::untranslated(const QString& text) { return {u"undefined"_s, text}; }

TrList::TrList(const QList<QString>& texts)
{
    reserve(texts.size());
    for (const QString& text : texts)
        append(Tr::untranslated(text));
}

} // namespace tr
