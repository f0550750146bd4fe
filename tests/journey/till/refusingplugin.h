#pragma once

#include "host/core/basicloyaltysystem.h"

namespace tilltest {

/// A loyalty system that does not start, and says why in the log.
class RefusingPlugin : public QObject, public BasicLoyaltySystem
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "Refusing")
    Q_INTERFACES(BasicLoyaltySystem BasicPlugin)

public:
    bool init() override;
};

} // namespace tilltest
