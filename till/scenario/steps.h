#pragma once

#include "till/checkout/state.h"
#include "till/scenario/members.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <optional>

namespace till {

class ScriptedFrontend;
class Till;

/// Where steps are played: a till, and the cashier who answers its dialogs.
struct Workplace
{
    Till& till;
    ScriptedFrontend& cashier;
};

/// What a step came to.
struct Outcome
{
    bool ok = false;         ///< what the operation returned
    QVariant value = {};     ///< the number or text it returned; invalid: none
    QString error = {};      ///< for the cashier; empty when ok
    QStringList screen = {}; ///< what the cashier sees of it, besides dialogs and the error
};

/// A thing that the cashier does. To add one is to add its entry to the table in steps.cpp.
struct StepKind
{
    QString name;
    QString about; ///< English, for help
    QList<Member> members;
    std::optional<Action> action; ///< what it is at the checkout; nothing: a matter of the till
    /// Plays it with members that were checked. May throw std::exception: the step then failed.
    Outcome (*play)(const Workplace& at, const QVariantMap& members);
};

/// All of them, in the order of a receipt's life.
const QList<StepKind>& stepKinds();

/// The names of those that the checkout allows in that state, as the table has them.
QStringList stepsIn(State state);

/// The one of that name, or null.
const StepKind* findStepKind(const QString& name);

} // namespace till
