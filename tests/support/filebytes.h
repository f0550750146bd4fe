#pragma once

#include <QDirIterator>
#include <QFile>
#include <QStringConverter>
#include <QStringList>

namespace test_support {

/// Which files of the folder hold the text, as this program's files may: as UTF-8, or as UTF-16 in either
/// order of bytes.
inline QStringList filesWith(const QString& directory, const QString& text)
{
    QList<QByteArray> forms{text.toUtf8()};
    for (const auto encoding : {QStringConverter::Utf16BE, QStringConverter::Utf16LE})
        forms.append(QStringEncoder(encoding).encode(text));
    QStringList found;
    QDirIterator files(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        if (std::any_of(forms.cbegin(), forms.cend(),
                        [&content](const QByteArray& form) { return content.contains(form); }))
            found.append(files.fileName());
    }
    found.sort();
    return found;
}

} // namespace test_support
