#pragma once

#include "host/utils/config.h"
#include "till/scenario/steps.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace till {

/// A step as it is to be played; its members are checked.
struct Step
{
    const StepKind* kind = nullptr; ///< of the table; never null in a step that was read
    QVariantMap members;
    bool mayFail = false; ///< its failure is expected to be possible and does not make the scenario fail
};

/// A scenario file, checked as a whole before anything of it is played.
struct Scenario
{
    QString fileName;
    QString name;  ///< what it is about; the file name when the file does not say
    Config config; ///< what it is played with: the till's configuration, and over it the file's own values
    QList<Step> steps;
};

/// Reads the file. `config` is the till's configuration. Throws UsageError when the file can't be read, is
/// not JSON, or holds anything unknown, missing or mistyped: a line for each mistake, with file and line.
Scenario readScenario(const QString& fileName, const Config& config);

/// Reads one step; none, and something added to the problems, when anything in it is wrong.
std::optional<Step> readStep(const JsonNode& node, Problems& problems);

} // namespace till
