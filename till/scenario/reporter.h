#pragma once

#include "host/core/documentimpact.h"
#include "till/audit/summary.h"
#include "till/cli/options.h"
#include "till/scenario/scriptedfrontend.h"
#include "till/scenario/steps.h"
#include "till/scenario/trace.h"

#include <QList>
#include <QString>
#include <QTextStream>
#include <QVariant>

#include <memory>
#include <optional>

namespace till {

/// How many steps were played and what became of them.
struct Tally
{
    int steps = 0;
    int failed = 0;
    int allowed = 0; ///< of the failed: those that were allowed to
};

/// A step that was played, and how things stand after it.
struct StepReport
{
    int number; ///< from 1
    QString name;
    bool mayFail;
    Outcome outcome;
    QList<ShownDialog> dialogs;
    double points;                              ///< points for spend
    QVariant balance;                           ///< of the card on the receipt; invalid: none, or not known
    QList<DocumentImpact::PositionSum> impacts; ///< of the newest impact
    std::optional<int> queued;                  ///< messages waiting to be sent; nothing: it cannot be read
    std::optional<double> unknown = {};         ///< points of a spending whose outcome is not known
    QList<TraceEntry> trace;
};

/// Tells what happens at the till.
class Reporter
{
public:
    Reporter() = default;
    virtual ~Reporter();
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    virtual void begin(const QString& name, const QString& fileName) = 0;
    /// What went on before the first step.
    virtual void preparations(const QList<TraceEntry>& trace) = 0;
    virtual void step(const StepReport& report) = 0;
    virtual void end(const Summary& summary, const Tally& tally) = 0;
    /// After the last file.
    virtual void total(const QList<Summary>& summaries) = 0;
};

/// A line of JSON for each step, one with the summary for each file, and nothing else.
class JsonReporter : public Reporter
{
public:
    /// What goes on behind the steps is printed to `err` when `verbose`; warnings before the first step
    /// always are: no line of JSON tells of them.
    JsonReporter(QTextStream& out, QTextStream& err, bool verbose)
        : m_out(out)
        , m_err(err)
        , m_verbose(verbose)
    {}

    void begin(const QString& name, const QString& fileName) override;
    void preparations(const QList<TraceEntry>& trace) override;
    void step(const StepReport& report) override;
    void end(const Summary& summary, const Tally& tally) override;
    void total(const QList<Summary>& summaries) override;

private:
    void print(const QList<TraceEntry>& trace, LogLevel least);

    QTextStream& m_out;
    QTextStream& m_err;
    bool m_verbose;
};

/// An account to be read: each step as the cashier sees it and, indented below, as the administrator does.
class TextReporter : public Reporter
{
public:
    TextReporter(QTextStream& out, bool colours)
        : m_out(out)
        , m_colours(colours)
    {}

    void begin(const QString& name, const QString& fileName) override;
    void preparations(const QList<TraceEntry>& trace) override;
    void step(const StepReport& report) override;
    void end(const Summary& summary, const Tally& tally) override;
    void total(const QList<Summary>& summaries) override;

private:
    enum class Colour { Bold = 1, Dim = 2, Red = 31, Green = 32, Yellow = 33 };

    [[nodiscard]] QString painted(const QString& text, Colour colour) const;
    void printDialog(const ShownDialog& dialog);
    void printTrace(const QList<TraceEntry>& trace);

    QTextStream& m_out;
    bool m_colours;
};

/// Tells of the steps on `out` as the options ask; with JSON, what goes on behind them goes to `err`.
std::unique_ptr<Reporter> reporterFor(const Options& options, QTextStream& out, QTextStream& err);

} // namespace till
