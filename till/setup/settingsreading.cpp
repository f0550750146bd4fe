#include "till/setup/settingsreading.h"

#include "host/utils/configfile.h"
#include "till/setup/settingkeys.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <optional>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// systemd's credentials are guarded by their folder; their own mode may tell of an access list.
bool isCredential(const QString& fileName)
{
    const QString folder = qEnvironmentVariable("CREDENTIALS_DIRECTORY");
    return !folder.isEmpty() && QFileInfo(fileName).absolutePath() == QDir::cleanPath(folder);
}

/// Takes the password from the file's first line.
std::optional<Fault> readPassword(const QString& fileName, Config& config)
{
    const QString theFile = fileName + u": the password file "_s;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return Fault{theFile + u"cannot be read: "_s + file.errorString()};
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    if ((file.permissions() & others).toInt() != 0 && !isCredential(fileName))
        return Fault{theFile + u"may be read by others than its owner"_s,
                     u"mend it with: chmod 600 "_s + fileName};
    constexpr qint64 longest = 1024;
    const QByteArray line = file.readLine(longest + 2);
    const QString password = QString::fromUtf8(line.endsWith('\n') ? line.chopped(1) : line);
    if (password.isEmpty() || line.size() > longest)
        return Fault{theFile + u"must hold the password in its first line"_s};
    config.set(keys::password, password);
    return std::nullopt;
}

void readFile(SettingsReading& reading)
{
    const utils::ConfigContent content = utils::readConfigFile(reading.file);
    if (!content.problem.isEmpty())
        reading.problems.append({.file = reading.file, .line = content.line, .fault = {content.problem}});
    for (const auto& [key, value, line] : content.entries) {
        reading.lines.insert(key, line);
        try {
            Config taken = reading.config;
            taken.set(key, value);
            if (const auto fault = faultOfValue(key, value))
                reading.complain(key, *fault);
            else
                reading.config = taken;
        } catch (const ConfigError& error) { // "key: what is wrong"
            reading.complain(key, {QString::fromUtf8(error.what()).sliced(key.size() + 2)});
        }
    }
}

/// The environment's word, then that of the file which one of the two names; nothing: as configured.
void takePassword(SettingsReading& reading, const Options& options)
{
    Config& config = reading.config;
    const QString said = qEnvironmentVariable("KYR_LOYALTY_PASSWORD");
    const QString saidFile = qEnvironmentVariable("KYR_LOYALTY_PASSWORD_FILE");
    const QString configured = besideConfiguration(options, config.getString(keys::passwordFile, {}));
    const QString file = saidFile.isEmpty() ? configured : saidFile;
    if (!said.isEmpty())
        return config.set(keys::password, said);
    if (file.isEmpty())
        return;
    if (saidFile.isEmpty() && !config.getString(keys::password, {}).isEmpty())
        return reading.complain(
            keys::passwordFile,
            {u"%1 and %2 both say the password"_s.arg(keys::password, keys::passwordFile), u"keep one"_s});
    const auto fault = readPassword(file, config);
    if (fault && saidFile.isEmpty())
        reading.complain(keys::passwordFile, *fault);
    else if (fault)
        reading.problems.append({.fault = *fault});
}

/// Whoever may write the configuration says where the password goes: nowhere then.
void requireUnwritable(SettingsReading& reading, const Options& options)
{
    const auto others = QFile::WriteGroup | QFile::WriteOther;
    if (reading.file.isEmpty() || (QFile::permissions(reading.file) & others).toInt() == 0)
        return;
    setServerUrl(reading.config, options.serverUrl);
    reading.problems.append(
        {.file = reading.file,
         .key = keys::serverUrl,
         .fault = {u"may be written by others than its owner, who could have the password sent elsewhere"_s,
                   u"mend it with: chmod go-w "_s + reading.file}});
}

/// Options go over the file.
void takeOptions(SettingsReading& reading, Options& options)
{
    Config& config = reading.config;
    if (!options.serverUrl.isEmpty())
        setServerUrl(config, options.serverUrl);
    if (!options.language.isEmpty())
        config.set(keys::language, options.language);
    if (options.dataDirectory.isEmpty())
        options.dataDirectory = besideConfiguration(options, config.getString(keys::dataDirectory, {}));
    if (options.logFile.isEmpty())
        options.logFile = besideConfiguration(options, config.getString(keys::logFile, {}));
    if (!options.logLevel)
        options.logLevel = levelNamed(config.getString(keys::logLevel, {}));
}

} // namespace

QString besideConfiguration(const Options& options, const QString& name)
{
    return name.isEmpty() ? QString() : QFileInfo(options.configFile).dir().absoluteFilePath(name);
}

QString SettingsProblem::placedText() const
{
    const QString place = file.isEmpty() ? QString() : utils::placeInFile(file, line) + u": "_s;
    return place + (key.isEmpty() ? QString() : key + u": "_s) + fault.text;
}

void SettingsReading::complain(const QString& key, const Fault& fault)
{
    const int line = lines.value(key);
    problems.append({.file = line == 0 ? QString() : file, .line = line, .key = key, .fault = fault});
}

SettingsReading readSettings(Options& options)
{
    SettingsReading reading{
        .config = loadSettings({}), .problems = {}, .file = options.configFile, .lines = {}};
    if (!options.configFile.isEmpty())
        readFile(reading);
    takeOptions(reading, options);
    takePassword(reading, options);
    if (!reading.config.getString(keys::password, {}).isEmpty())
        requireUnwritable(reading, options);
    if (const auto fault = faultOfWeightPrefixes(reading.config))
        reading.complain(keys::weightPrefixes, *fault);
    return reading;
}

} // namespace till
