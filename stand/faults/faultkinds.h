#pragma once

#include "stand/faults/fault.h"

#include <QJsonValue>

namespace stand {

/// Something that can be set with a kind of fault.
struct FaultSetting
{
    QString name;
    QJsonValue byDefault; ///< A number or a text; a setting has the type of its default.
    qint64 least = 0;     ///< Of a number.
    qint64 most = 0;
    QStringList oneOf = {}; ///< Of a text; empty: any.

    /// The value in this setting's type. Throws FaultError.
    [[nodiscard]] QJsonValue checked(const QJsonValue& value) const;
};

struct FaultKindInfo
{
    QString name;
    QString says; ///< What happens, in a few words.
    bool before;  ///< Whether it can come before the operation takes effect.
    bool after;
    When byDefault;
    QList<FaultSetting> settings = {};
};

/// By FaultKind.
[[nodiscard]] const QList<FaultKindInfo>& faultKinds();

} // namespace stand
