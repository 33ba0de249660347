#pragma once

#include "cli/results.h"
#include "cli/source_runner.h"

#include <functional>
#include <optional>

// Makes the sheets of the sources, one after the other, in this process.
namespace qv
{

class SheetRunner : public SourceRunner
{
public:
    using Tell = std::function<void(const SheetOutcome &, ProgressLine &)>;

    SheetRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                QList<Source> sources, Tell tell);
    ~SheetRunner() override;

protected:
    bool settle(const Source &source) override;
    void rowMade(const Source &source) override;
    void skipped(const Source &source, const QString &reason) override;

private:
    void rowFinished(const RowResult &result);
    void addRemarks(SheetOutcome &outcome) const;
    void tellUnmade(SheetOutcome::Status status, const Source &source, const QString &reason);

    Tell m_tell;
};

// Where a source's sheet goes.
QString sheetOf(HeadlessSession &session, const Source &source);

// What becomes of a source that nobody needs to look into: it is none, or what stands at its
// sheet's name settles it.
std::optional<SheetOutcome> settledOutcome(HeadlessSession &session, const Options &options,
                                           const Source &source);

} // namespace qv
