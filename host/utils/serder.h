#pragma once

#include "host/utils/export.h"

#include <QList>
#include <QMetaObject>
#include <QVariant>

#include <concepts>

/// Values to and from plain variants (maps, lists, numbers, texts, dates), which the host can store. A class
/// takes part by being a Q_GADGET: its properties are its members, and may be gadgets themselves. A list of
/// gadgets is a member by way of a QVariantList property, see DocumentImpact.
namespace serder {

/// The strategy for gadgets: a map from property name to value, an enumeration as its number. `gadget` points
/// to an object of the class that `type` describes, or of one derived from it.
HOST_EXPORT QVariant serializeGadget(const QMetaObject& type, const void* gadget);

/// Writes into `gadget` what the map holds for each property; a property that the map lacks keeps its value,
/// a member that the class doesn't have is ignored, and a value of a type that the property can't take too.
HOST_EXPORT void deserializeGadget(const QMetaObject& type, void* gadget, const QVariant& value);

template <class T>
concept Gadget = requires
{
    {
        T::staticMetaObject
        } -> std::convertible_to<const QMetaObject&>;
};

/// The host's serialiser of T. A plain value (text, number, date) is itself.
template <class T>
struct default_serder_type
{
    /// The value in a variant.
    static QVariant serialize(const T& value) { return QVariant::fromValue(value); }
    /// The value in the variant; a default-made one when that holds another type.
    static T deserialize(const QVariant& value) { return value.value<T>(); }
};

/// A gadget; a class derived from one without properties of its own is written by its base's meta-object.
template <Gadget T>
struct default_serder_type<T>
{
    /// A map from property name to value.
    static QVariant serialize(const T& value) { return serializeGadget(T::staticMetaObject, &value); }

    /// A default-made gadget with what the map holds for its properties.
    static T deserialize(const QVariant& value)
    {
        T result;
        deserializeGadget(T::staticMetaObject, &result, value);
        return result;
    }
};

/// A list, element by element in the same order.
template <class T>
struct default_serder_type<QList<T>>
{
    /// A QVariantList with an entry for each value.
    static QVariant serialize(const QList<T>& values)
    {
        QVariantList result;
        result.reserve(values.size());
        for (const T& value : values)
            result.append(default_serder_type<T>::serialize(value));
        return result;
    }

    /// A value for each entry; none when the variant is no list.
    static QList<T> deserialize(const QVariant& value)
    {
        const QVariantList entries = value.toList();
        QList<T> result;
        result.reserve(entries.size());
        for (const QVariant& entry : entries)
            result.append(default_serder_type<T>::deserialize(entry));
        return result;
    }
};

} // namespace serder
