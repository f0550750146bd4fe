#include "host/utils/configfile.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <toml++/toml.h>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

// Only what a key can hold becomes such a value; anything else stays invalid and is reported as a wrong type.
QVariant toVariant(const toml::node& node)
{
    if (const auto text = node.value_exact<std::string>())
        return QString::fromStdString(*text);
    if (const auto flag = node.value_exact<bool>())
        return *flag;
    const auto number = node.value_exact<std::int64_t>();
    if (number && *number >= std::numeric_limits<int>::min() && *number <= std::numeric_limits<int>::max())
        return static_cast<int>(*number);
    return {};
}

struct Placed
{
    ConfigEntry entry;
    toml::source_position place;
};

void collect(const toml::table& table, const QString& prefix, QList<Placed>& entries)
{
    for (const auto& [name, node] : table) {
        const std::string_view text = name.str();
        QString part = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
        // Must not pass for the colon between table and key, or for no key at all.
        if (part.contains(u':') || part.isEmpty())
            part = u'"' + part + u'"';
        const toml::table* inner = node.as_table();
        if (inner && !(inner->is_inline() && inner->empty()))
            collect(*inner, prefix + part + u':', entries);
        else
            entries.append({{prefix + part, toVariant(node), static_cast<int>(node.source().begin.line)},
                            node.source().begin});
    }
}

// The parser quotes what it stumbled over, which may be the password.
QString withoutQuotations(const toml::parse_error& error)
{
    static const QRegularExpression quotation(u", saw .*|'.{2,}'"_s,
                                              QRegularExpression::DotMatchesEverythingOption);
    const std::string_view text = error.description();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).remove(quotation).simplified();
}

} // namespace

ConfigContent readConfigFile(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {.problem = u"cannot be read: "_s + file.errorString()};
    QList<Placed> found;
    try {
        collect(toml::parse(file.readAll().toStdString()), {}, found);
    } catch (const toml::parse_error& error) {
        return {.problem = u"is not TOML: "_s + withoutQuotations(error),
                .line = static_cast<int>(error.source().begin.line)};
    }
    std::sort(found.begin(), found.end(), [](const Placed& a, const Placed& b) { return a.place < b.place; });
    ConfigContent content;
    for (const Placed& one : found)
        content.entries.append(one.entry);
    return content;
}

QString placeInFile(const QString& fileName, int line)
{
    return line == 0 ? fileName : u"%1:%2"_s.arg(fileName, QString::number(line));
}

} // namespace utils
