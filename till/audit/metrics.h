#pragma once

#include "host/network/exchangeoutcome.h"
#include "host/queue/messagequeue.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

namespace till {

/// What a monitor is told of: one thing, by the name under which it stays known.
struct Metric
{
    enum class Type { Gauge, Counter };
    struct Sample
    {
        QString label; ///< `state="waiting"`; empty: there is one sample only
        double value;
    };

    QString name; ///< without the "_total" of a counter; with the unit at its end
    Type type = Type::Gauge;
    QString unit; ///< "seconds", "bytes"; empty: a number of things, or yes and no
    QString help; ///< one line
    QList<Sample> samples = {};
};

/// How a till's data directory, or a shop's database, is doing at a moment. Nothing in it tells of a
/// customer.
struct Measures
{
    QString of = QStringLiteral("till"); ///< or "shop": of what the metrics' names tell
    QDateTime time;                      ///< of that moment
    QueueHealth health;
    QMap<network::ExchangeOutcome, int> attempts; ///< of the day before that moment
    /// Bytes, by what they are: a till's "store" and its "log" of what that has not taken in, a shop's
    /// "database".
    QMap<QString, qint64> sizes;
};

/// Takes them in the process's data directory, where nothing may have been kept yet. Throws BasicException
/// when the store can't be used.
Measures measured();

/// Takes them in a shop's database at that address, of one till where it is named. Throws
/// shop::DatabaseError.
Measures measuredInShop(const QString& address, const QString& till = {});

/// The metrics that say so.
QList<Metric> metricsOf(const Measures& measures);

/// What a program that stays counts of itself.
QList<Metric> ownMetrics();

/// All of them as text in the form of OpenMetrics, which node_exporter's textfile collector takes too.
QByteArray openMetrics(const QList<Metric>& metrics);

/// The samples by their names with labels.
QJsonObject metricsJson(const QList<Metric>& metrics);

} // namespace till
