#include "stand/faults/fault.h"

#include "stand/faults/faultkinds.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

const auto all = u"all"_s;
constexpr qint64 mostCalls = 1'000'000'000;

const FaultKindInfo& infoOf(FaultKind kind) { return faultKinds().at(static_cast<int>(kind)); }

QString nameOf(When when) { return when == When::Before ? u"before"_s : u"after"_s; }

FaultKind kindFrom(const QJsonValue& name)
{
    const auto& kinds = faultKinds();
    for (qsizetype i = 0; i < kinds.size(); ++i) {
        if (kinds[i].name == name.toString())
            return static_cast<FaultKind>(i);
    }
    throw FaultError((name.isUndefined()
                          ? u"\"fault\" is missing; it is one of %1"_s
                          : u"there is no fault \"%2\"; it is one of %1"_s.arg(u"%1"_s, name.toString()))
                         .arg(faultNames().join(u", "_s)));
}

CallPattern whereFrom(const QJsonValue& text)
{
    const auto where = CallPattern::fromText(text.toString());
    if (!where) {
        throw FaultError(
            u"\"operation\" is any, a path such as \"GET /v2/partner/card/*\", or one of %1"_s.arg(
                CallPattern::operations().join(u", "_s)));
    }
    return *where;
}

When whenFrom(const QJsonValue& value, const FaultKindInfo& info)
{
    if (value.isUndefined())
        return info.byDefault;
    for (const auto when : {When::Before, When::After}) {
        if (value.toString() != nameOf(when))
            continue;
        if (when == When::Before ? info.before : info.after)
            return when;
        throw FaultError(u"the fault \"%1\" cannot come %2 the operation"_s.arg(info.name, nameOf(when)));
    }
    throw FaultError(u"\"when\" is before or after"_s);
}

int callsFrom(const QJsonObject& description, const QString& name)
{
    const FaultSetting calls{name, 1, 1, mostCalls};
    return calls.checked(description.value(name).isUndefined() ? calls.byDefault : description.value(name))
        .toInt();
}

QJsonObject settingsFrom(const QJsonObject& description, const FaultKindInfo& info)
{
    QJsonObject settings;
    for (const auto& setting : info.settings) {
        const auto value = description.value(setting.name);
        settings.insert(setting.name, value.isUndefined() ? setting.byDefault : setting.checked(value));
    }
    QStringList known = {u"operation"_s, u"fault"_s, u"when"_s, u"nth"_s, u"every"_s, u"count"_s};
    known += settings.keys();
    for (const auto& name : description.keys()) {
        if (!known.contains(name)) {
            throw FaultError(
                u"the fault \"%1\" knows no \"%2\"; it knows %3"_s.arg(info.name, name, known.join(u", "_s)));
        }
    }
    return settings;
}

} // namespace

bool Fault::strikes(int call, int fired) const
{
    return call >= nth && (call - nth) % every == 0 && (!count || fired < *count);
}

qint64 Fault::number(const char* setting) const
{
    return settings.value(QLatin1StringView(setting)).toInteger();
}

QString Fault::text(const char* setting) const
{
    return settings.value(QLatin1StringView(setting)).toString();
}

QString Fault::name() const { return infoOf(kind).name; }

QJsonObject Fault::json() const
{
    auto object = settings;
    object.insert(u"operation"_s, where.text());
    object.insert(u"fault"_s, name());
    object.insert(u"when"_s, nameOf(when));
    object.insert(u"nth"_s, nth);
    object.insert(u"every"_s, every);
    object.insert(u"count"_s, count ? QJsonValue(*count) : QJsonValue(all));
    return object;
}

Fault faultFrom(const QJsonObject& description)
{
    Fault fault;
    const auto operation = description.value(u"operation"_s);
    if (!operation.isUndefined())
        fault.where = whereFrom(operation);
    fault.kind = kindFrom(description.value(u"fault"_s));
    const auto& info = infoOf(fault.kind);
    fault.settings = settingsFrom(description, info);
    fault.when = whenFrom(description.value(u"when"_s), info);
    fault.nth = callsFrom(description, u"nth"_s);
    fault.every = callsFrom(description, u"every"_s);
    const bool isForEver = description.value(u"count"_s) == all;
    if (!isForEver)
        fault.count = callsFrom(description, u"count"_s);
    if (fault.kind == FaultKind::Refuse && isForEver)
        throw FaultError(
            u"a stand that refused for ever could not be told to stop: give \"count\" a number"_s);
    if (fault.kind == FaultKind::Length && fault.number("by") == 0)
        throw FaultError(u"\"by\" is not 0"_s);
    return fault;
}

Fault faultFrom(const QString& description)
{
    // A value may hold colons, as addresses do.
    const auto parts = description.split(u':');
    if (parts.size() < 2) {
        throw FaultError(u"\"%1\" is no fault: write OPERATION:FAULT, or OPERATION:FAULT:nth=1,count=3"_s.arg(
            description));
    }
    QJsonObject object{{u"operation"_s, parts[0]}, {u"fault"_s, parts[1]}};
    const auto settings = parts.sliced(2).join(u':');
    for (const auto& setting : settings.split(u',', Qt::SkipEmptyParts)) {
        const auto equals = setting.indexOf(u'=');
        if (equals < 1)
            throw FaultError(u"\"%1\" sets nothing: write NAME=VALUE"_s.arg(setting));
        object.insert(setting.first(equals), setting.sliced(equals + 1));
    }
    return faultFrom(object);
}

QStringList faultNames()
{
    QStringList names;
    for (const auto& kind : faultKinds())
        names.append(kind.name);
    return names;
}

QJsonArray faultKindList()
{
    QJsonArray list;
    for (const auto& kind : faultKinds()) {
        QJsonObject settings;
        for (const auto& setting : kind.settings)
            settings.insert(setting.name, setting.byDefault);
        list.append(QJsonObject{{u"name"_s, kind.name},
                                {u"says"_s, kind.says},
                                {u"before"_s, kind.before},
                                {u"after"_s, kind.after},
                                {u"when"_s, nameOf(kind.byDefault)},
                                {u"settings"_s, settings}});
    }
    return list;
}

QString faultsInWords()
{
    QString words;
    for (const auto& kind : faultKinds()) {
        QStringList settings;
        for (const auto& setting : kind.settings)
            settings.append(setting.name + u'=' + setting.byDefault.toVariant().toString());
        if (kind.before && kind.after)
            settings.append(u"when="_s + nameOf(kind.byDefault));
        words += u"  %1 %2\n"_s.arg(kind.name, -16).arg(kind.says);
        if (!settings.isEmpty())
            words += u"  %1 %2\n"_s.arg(QString(), -16).arg(settings.join(u','));
    }
    return words;
}

} // namespace stand
