#pragma once

class QObject;

namespace stand {

/// SIGTERM and SIGINT end the event loop, with exit status 0. Call it before another thread starts.
/// `parent` owns what listens for them. Throws std::system_error.
void quitOnSignals(QObject* parent);

/// The end of the standard input ends the event loop: whoever started the stand has gone.
void quitOnEndOfInput(QObject* parent);

} // namespace stand
