#include "packaging/pages/page.h"

#include <QFile>
#include <QRegularExpression>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace pages {

QString plain(const QString& line)
{
    QString text = line;
    text.replace(u'\\', u"\\e"_s).replace(u'"', u"\\(dq"_s);
    return text.startsWith(u'.') || text.startsWith(u'\'') ? u"\\&"_s + text : text;
}

QString sentences(const QString& line)
{
    static const QRegularExpression end(u"([.:!?]) "_s);
    return plain(line).replace(end, u"\\1\n"_s);
}

QStringList optionEntry(const QStringList& names, const QString& value, const QString& about)
{
    QStringList flags;
    for (const QString& name : names)
        flags.append((name.size() == 1 ? u"Fl "_s : u"Fl \\-"_s) + name);
    const QString item = u".It "_s + flags.join(u" , "_s);
    return {value.isEmpty() ? item : item + u" Ar "_s + value.toLower(), sentences(about)};
}

QStringList alternatives(const QStringList& words) { return {words.join(u" | "_s)}; }

int print(const QByteArray& fileName, const Places& places)
{
    QFile page(QString::fromLocal8Bit(fileName));
    if (!page.open(QIODevice::ReadOnly)) {
        QTextStream(stderr) << page.fileName() << ": " << page.errorString() << '\n';
        return 2;
    }
    QString text = QString::fromUtf8(page.readAll());
    for (auto place = places.cbegin(); place != places.cend(); ++place)
        text.replace(u'@' + place.key() + u'@', place->join(u'\n'));
    QTextStream(stdout) << text;
    return 0;
}

} // namespace pages
