#include "host/utils/serder.h"

#include <QMetaProperty>

namespace serder {

QVariant serializeGadget(const QMetaObject& type, const void* gadget)
{
    QVariantMap members;
    for (int i = 0; i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        QVariant value = property.readOnGadget(gadget);
        if (value.metaType().flags() & QMetaType::IsEnumeration)
            value = value.toInt();
        members.insert(QString::fromLatin1(property.name()), value);
    }
    return members;
}

void deserializeGadget(const QMetaObject& type, void* gadget, const QVariant& value)
{
    const QVariantMap members = value.toMap();
    for (int i = 0; i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        const auto member = members.constFind(QString::fromLatin1(property.name()));
        if (member != members.constEnd())
            property.writeOnGadget(gadget, *member);
    }
}

} // namespace serder
