#include "host/utils/serder.h"

#include <QMetaProperty>

namespace serder {

namespace {

QVariant plain(const QVariant& value)
{
    const QMetaType type = value.metaType();
    if (type.flags() & QMetaType::IsEnumeration)
        return value.toInt();
    if (type.flags() & QMetaType::IsGadget)
        return serializeGadget(*type.metaObject(), value.constData());
    return value;
}

} // namespace

QVariant serializeGadget(const QMetaObject& type, const void* gadget)
{
    QVariantMap members;
    for (int i = 0; i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        members.insert(QString::fromLatin1(property.name()), plain(property.readOnGadget(gadget)));
    }
    return members;
}

void deserializeGadget(const QMetaObject& type, void* gadget, const QVariant& value)
{
    const QVariantMap members = value.toMap();
    for (int i = 0; i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        const auto member = members.constFind(QString::fromLatin1(property.name()));
        if (member == members.constEnd())
            continue;
        if (property.metaType().flags() & QMetaType::IsGadget) {
            QVariant inner = property.readOnGadget(gadget);
            deserializeGadget(*property.metaType().metaObject(), inner.data(), *member);
            property.writeOnGadget(gadget, inner);
        } else {
            property.writeOnGadget(gadget, *member);
        }
    }
}

} // namespace serder
