#pragma once

#include "cli/results.h"
#include "cli/source_runner.h"
#include "controller/run_names.h"

#include <functional>
#include <optional>

// Makes the sheets of the sources, one after the other, in this process.
namespace qv
{

class SheetRunner : public SourceRunner
{
public:
    using Tell = std::function<void(const SheetOutcome &, ProgressLine &)>;

    // Without names, whoever begins a source gives the controller its sheet's.
    SheetRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                QList<Source> sources, RunNames *names, Tell tell);
    ~SheetRunner() override;

protected:
    bool settle(const Source &source) override;
    void rowMade(const Source &source) override;
    void skipped(const Source &source, const QString &reason) override;

private:
    void rowFinished(const RowResult &result);
    void tellUnmade(SheetOutcome::Status status, const Source &source, const QString &reason);

    RunNames *m_names;
    Tell m_tell;
};

SheetOutcome unmade(SheetOutcome::Status status, const Source &source, const QString &reason);

// The outcome of a source that needs no analysis: it is unusable, or its sheet exists. Else
// nothing.
std::optional<SheetOutcome> settledOutcome(HeadlessSession &session, const Options &options,
                                           const Source &source, RunNames &names);

// Adds to the outcome whether and why the sheet does not have the plain name.
void noteName(SheetOutcome &outcome, const Source &source, RunNames &names);

} // namespace qv
