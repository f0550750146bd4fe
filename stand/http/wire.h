#pragma once

#include "stand/http/delivery.h"

class QTcpSocket;

namespace stand {

/// Puts the delivery on a connection that nobody else uses, from the next turn of the event loop on. Without
/// a connection (null) nothing is sent.
void deliver(QTcpSocket* connection, Delivery delivery);

/// The same for an answer that is found later; it is found although the client has gone.
void deliver(QTcpSocket* connection, const Postponed& postponed);

} // namespace stand
