#pragma once

#include <QString>
#include <QTranslator>

namespace till {

/// Shows the cashier's texts in a language for as long as it lives. Its file is kyr_LANGUAGE.qm below
/// share/kyr-loyalty/translations, beside this program or where the user keeps data of their own.
class Language
{
public:
    /// "ru" or nothing: Russian, which the program is written in. Throws UsageError, which names those that
    /// there are, when there is no such file. Needs an application object.
    explicit Language(const QString& name);
    ~Language();
    Language(const Language&) = delete;
    Language& operator=(const Language&) = delete;

private:
    QTranslator m_translator;
};

} // namespace till
