// Whether this host keeps what the plug-in relies on: a line for each promise.
//   host-conformance            status 0: all are kept, 1: some differ
#include "host/storage/datadirectory.h"
#include "promise.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {

QString theFolder;

/// What differs; empty: it is kept.
QString differenceOf(const Promise& promise)
{
    try {
        promise.kept();
        return {};
    } catch (const std::exception& failure) {
        return QString::fromUtf8(failure.what());
    }
}

} // namespace

void setFolder(const QString& folder)
{
    theFolder = folder;
    storage::setDataDirectory(folder);
}

QString folder() { return theFolder; }

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == u"--enqueue-and-die"_s) {
        setFolder(QCoreApplication::arguments().value(2));
        enqueueAndDie();
    }
    const QTemporaryDir own;
    setFolder(own.path());
    QTextStream out(stdout);
    int differing = 0;
    int all = 0;
    for (const auto& [title, promises] :
         {std::pair(u"One of each"_s, sharedThings()), std::pair(u"Services"_s, services()),
          std::pair(u"Documents"_s, documents()), std::pair(u"Queue"_s, queue()),
          std::pair(u"Exchanges"_s, exchanges()), std::pair(u"Loyalty systems"_s, loyaltySystem())}) {
        out << title << Qt::endl;
        for (const Promise& promise : promises) {
            const QString difference = differenceOf(promise);
            ++all;
            differing += difference.isEmpty() ? 0 : 1;
            out << (difference.isEmpty() ? u"  kept     "_s : u"  DIFFERS  "_s) << promise.sentence
                << Qt::endl;
            if (!difference.isEmpty())
                out << u"           "_s << difference << u"; then "_s << promise.otherwise << Qt::endl;
        }
    }
    out << all << u" promises, "_s << differing << u" differ"_s << Qt::endl;
    return differing == 0 ? 0 : 1;
}
