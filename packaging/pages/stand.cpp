// Fills a page's template from the stand's own options and faults: the manual, the completion.
//   stand_manuals manual|completion TEMPLATE
#include "packaging/pages/page.h"
#include "stand/program/options.h"

using namespace Qt::StringLiterals;
using pages::Places;

namespace {

Places manual()
{
    Places places;
    for (const QCommandLineOption& option : stand::optionKinds()) {
        QString about = option.description();
        if (!option.defaultValues().isEmpty())
            about += u" Unless given, %1."_s.arg(option.defaultValues().constFirst());
        places[u"OPTIONS"_s] += pages::optionEntry(option.names(), option.valueName(), about);
    }
    for (const QString& line : stand::faultHelp().split(u'\n'))
        places[u"FAULTS"_s] += pages::plain(line);
    return places;
}

Places completion()
{
    QStringList all;
    QStringList valued;
    QStringList files;
    for (const QCommandLineOption& option : stand::optionKinds()) {
        const QString name = u"--"_s + option.names().constLast();
        all.append(name);
        if (!option.valueName().isEmpty())
            valued.append(name);
        if (option.valueName() == u"FILE"_s)
            files.append(name);
    }
    return {{u"OPTIONS"_s, {all.join(u' ')}},
            {u"VALUED"_s, pages::alternatives(valued)},
            {u"FILE"_s, pages::alternatives(files)}};
}

} // namespace

int main(int argc, char** argv)
{
    const QList<QByteArray> arguments(argv, argv + argc);
    return pages::print(arguments.value(2), arguments.value(1) == "manual" ? manual() : completion());
}
