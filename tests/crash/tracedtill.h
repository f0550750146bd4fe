#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace crashtest {

/// The system calls by which a till changes its files or talks to the service.
const QStringList& deadlyCalls();

/// How a till ended.
struct Ended
{
    bool killed = false;
    int status = -1;          ///< when it was not killed
    QList<QJsonObject> steps; ///< what it said of the steps that it completed
    QByteArray errors;
};

/// Runs the till to its end.
Ended runTill(const QStringList& arguments);
/// The same, but it dies as it begins its `number`-th call of that kind, counted from 1.
Ended runTillKilledAt(const QString& call, int number, const QStringList& arguments);
/// How many calls of each deadly kind the till makes.
QMap<QString, int> countCalls(const QStringList& arguments);

/// Why a program can't be traced here, in English; empty when it can.
QString tracingFault();

} // namespace crashtest
