#pragma once

#include "till/cli/serviceaddress.h"
#include "till/setup/settings.h"

#include <QHash>
#include <QList>
#include <QString>

namespace till {

/// Something wrong with the settings, in English for the administrator. No secret is in it.
struct SettingsProblem
{
    QString file = {}; ///< the configuration; empty: it is not from there
    int line = 0;      ///< from 1; 0: the file as a whole
    QString key = {};  ///< "KYRLoyalty:timeout"; empty: of no single key
    Fault fault;

    /// "till.toml:3: KYRLoyalty:timeout: " and the text, without the remedy.
    [[nodiscard]] QString placedText() const;
};

/// What settings were read, and all that is wrong with them: first of single values, in the order of the
/// file. What a problem is of has its default.
struct SettingsReading
{
    Config config;
    QList<SettingsProblem> problems;
    QString file;              ///< empty: none
    QHash<QString, int> lines; ///< of each key that the file has

    /// Adds a problem of that key, with its place.
    void complain(const QString& key, const Fault& fault);
};

/// Reads the settings of these options, and goes on after each problem; settingsOf() throws all of them.
/// Changes the options as that does.
SettingsReading readSettings(Options& options);

/// The path of a file that the configuration names: it lies beside the configuration. Of no name it is none.
QString besideConfiguration(const Options& options, const QString& name);

} // namespace till
