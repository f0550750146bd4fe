#include "till/setup/language.h"

#include "till/cli/usageerror.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString russian = u"ru"_s;

/// The user's own come first.
QStringList folders()
{
    const QString kept = u"kyr-loyalty/translations"_s;
    QStringList all =
        QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, kept, QStandardPaths::LocateDirectory);
    all.append(QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../share/"_s + kept));
    return all;
}

QStringList languages()
{
    QStringList all{russian};
    for (const QString& folder : folders()) {
        for (const QString& file : QDir(folder).entryList({u"kyr_*.qm"_s}, QDir::Files))
            all.append(file.sliced(4).chopped(3));
    }
    all.removeDuplicates();
    all.sort();
    return all;
}

} // namespace

Language::Language(const QString& name)
{
    if (name.isEmpty() || name == russian)
        return;
    // Not what QTranslator itself would make of the name: "en_GB" or "../en" is no language of ours.
    if (languages().contains(name)) {
        for (const QString& folder : folders()) {
            if (m_translator.load(u"%1/kyr_%2.qm"_s.arg(folder, name))) {
                QCoreApplication::installTranslator(&m_translator);
                return;
            }
        }
    }
    throw UsageError(u"Till:language, --language: there is no language \"%1\"; there are: %2"_s.arg(
        name, languages().join(u", "_s)));
}

Language::~Language() { QCoreApplication::removeTranslator(&m_translator); }

} // namespace till
