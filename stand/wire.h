#pragma once

#include "stand/delivery.h"

class QTcpSocket;

namespace stand {

/// Takes the connection away from whoever reads and writes it, and puts the delivery on it from the next turn
/// of the event loop on. `socket` stays its own.
void deliver(QTcpSocket* socket, Delivery delivery);

/// The same for an answer that is found later.
void deliver(QTcpSocket* socket, const Postponed& postponed);

} // namespace stand
