#include "cli/headless_face.h"

#include "sheet/caption_texts.h"
#include "sheet/layout.h"
#include "support/numbers.h"

namespace qv
{
namespace
{

template <typename Callback, typename... Arguments>
void tell(const Callback &callback, const Arguments &...arguments)
{
    if (callback) {
        callback(arguments...);
    }
}

} // namespace

HeadlessFace::HeadlessFace(const Options &options, const PreferencesStore &preferences)
    : m_options(options), m_preferences(preferences),
      m_destination(options.output.isEmpty() ? defaultDestination() : options.output)
{
}

void HeadlessFace::windowChanged(const WindowState &window)
{
    tell(onWindowChanged, window);
}

void HeadlessFace::sourceSkipped(const QString &source, const QString &reason)
{
    tell(onSourceSkipped, source, reason);
}

void HeadlessFace::analysisEnded()
{
    tell(onAnalysisEnded);
}

void HeadlessFace::rowFinished(const RowResult &result)
{
    tell(onRowFinished, result);
}

void HeadlessFace::batchEnded(const QString &, const QString &)
{
    tell(onBatchOver);
}

void HeadlessFace::batchStopped()
{
    tell(onBatchOver);
}

QString HeadlessFace::defaultDestination() const
{
    return m_preferences.prefReadString(QStringLiteral("prefDefautDstPathStr"));
}

int HeadlessFace::pictureChoice() const
{
    return m_options.pictureChoice.value_or(
        intValue(m_preferences.prefReadString(QStringLiteral("prefDpi"))));
}

QString HeadlessFace::layoutLabel(int out) const
{
    return layoutName(sheetLayout(out));
}

bool HeadlessFace::refusesDamaged() const
{
    return m_options.strict ||
           intValue(m_preferences.prefReadString(QStringLiteral("prefRefuseDamaged"))) != 0;
}

int HeadlessFace::thumbnailCount(int out) const
{
    return m_options.count.value_or(
        intValue(m_preferences.prefReadString(countPreference(sheetLayout(out)))));
}

bool HeadlessFace::captionShown(const QString &caption) const
{
    const bool isStamp = caption == QLatin1String("timecode");
    if (m_options.noTimecode && isStamp) {
        return false;
    }
    const bool isListed = m_options.captions && m_options.captions->contains(caption);
    // A list of captions says nothing about the stamps unless it names them.
    const bool listDecides = m_options.captions && !isStamp;
    return isListed || (!listDecides && isCaptionOn(m_preferences, caption));
}

} // namespace qv
