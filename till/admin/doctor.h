#pragma once

#include "host/queue/outgoingqueue.h"
#include "host/utils/config.h"
#include "till/cli/options.h"
#include "till/setup/settingsreading.h"

#include <QJsonDocument>
#include <QList>
#include <QString>

namespace till {

/// What the doctor says of one thing.
struct Finding
{
    enum class State { Ok, Warning, Problem };

    QString check; ///< a stable name: "clock"
    State state = State::Ok;
    QString text;
    QString remedy = {}; ///< how to mend it; empty when ok
};

/// "ok", "warning" or "problem".
QString stateText(Finding::State state);

/// The findings as `till doctor --json` tells them.
QJsonDocument findingsJson(const QList<Finding>& findings);

/// All that the doctor looks at, in order; goes on after each failure. Uses the process's data directory.
QList<Finding> examine(const Options& given);
/// All that it looks at in a shop, as one of its deliveries sees it.
QList<Finding> examineWholeShop(const Options& given);

// Its parts. What they can't look at, because something before it failed, they leave out.

/// "configuration", for each problem one, and "ratio".
QList<Finding> examineConfiguration(const Options& options, const SettingsReading& reading);
/// "name", "connection", "tls", "service", "credentials" and "clock".
QList<Finding> examineService(const Config& config);
/// "log": the log file; an empty name is none.
Finding examineLog(const QString& fileName);
/// "goods": the file of what is sold; an empty name is none.
Finding examineGoods(const QString& fileName);
/// "data", "files" and "disk" of the process's data directory.
QList<Finding> examineDirectory(const QString& path);
/// "store", all of which is read.
Finding examineStore(const QString& path);
/// "contents": the seal of each receipt and message, and the open receipt.
QList<Finding> examineContents(const QString& path);
/// "queue": that of the data directory.
QList<Finding> examineQueue(const Config& config, const QString& path);
/// "queue": this one. Throws BasicException when it can't be used.
QList<Finding> examineQueue(const Config& config, const OutgoingQueue& queue);
/// "shop": its database, where it has one.
QList<Finding> examineShop(const Config& config);
/// "shop", for receipts that can't move on to it.
QList<Finding> examineStuck(const Config& config, const QString& path);
/// "plug-in".
Finding examinePlugin(const Options& options, const Config& config);

} // namespace till
