// How the stills of a round are spread over runs of ffmpeg.

#include "controller/picture_rounds.h"

#include "sheet/colour_filters.h"
#include "support/files.h"

#include <algorithm>
#include <iterator>

namespace qv
{
namespace
{

// Starting a tool costs as much as some pictures whose other frames aren't decoded.
constexpr int fewestPerRun = 4;

} // namespace

QString PictureRounds::trialFile(const Still &still)
{
    return withoutExtension(still.file) + QStringLiteral(".trial.jpg");
}

// Pictures are spread over the tools; those that must be alone get runs of their own.
std::vector<PictureRounds::Run> PictureRounds::nextRuns()
{
    std::vector<Run> alone;
    std::vector<Run> units; // each with one input
    for (Still &still : m_stills) {
        const auto shot = still.waits ? std::nullopt : nextShot(still);
        if (!shot) {
            continue;
        }
        if (still.isAlone || shot->takesLast) {
            alone.push_back({{*shot}, {&still}});
        } else if (!units.empty() && isInGroupOf(still, *units.back().stills.front())) {
            units.back().shots.push_back(*shot);
            units.back().stills.push_back(&still);
        } else {
            units.push_back({{*shot}, {&still}});
        }
    }
    std::for_each(units.begin(), units.end(), [this](Run &group) { shareInput(group); });
    std::vector<Run> runs = spread(std::move(units));
    std::move(alone.begin(), alone.end(), std::back_inserter(runs));
    if (m_trial) {
        const Still &still = m_stills[*m_trial];
        QStringList all = withDisplayColours(tellingInstant(still.planned), m_job.record);
        all.last() = trialFile(still);
        runs.push_back({{PictureShot{-1, all, 0, false}}, {}});
    }
    return runs;
}

std::vector<PictureRounds::Run> PictureRounds::spread(std::vector<Run> units) const
{
    const int count = static_cast<int>(units.size());
    const int share = (count + m_job.tools - 1) / m_job.tools;
    const bool areShort = m_job.intraOnly != IntraOnly::No || m_job.startsAtKeys;
    const int perRun = std::min(std::max(share, areShort ? fewestPerRun : 1), m_job.mostPerRun);
    const bool isShared = count >= m_job.tools && count > 1 && m_job.mostPerRun > 1;
    const bool inOneThread = isShared || isSmallToDecode(m_job.record);
    std::vector<Run> runs;
    for (int i = 0; i < count; ++i) {
        if (i % perRun == 0) {
            runs.emplace_back();
        }
        Run &unit = units[static_cast<std::size_t>(i)];
        for (std::size_t shot = 0; shot < unit.shots.size(); ++shot) {
            if (inOneThread) {
                unit.shots[shot].arguments = decodingInOneThread(unit.shots[shot].arguments);
            }
            runs.back().shots.push_back(std::move(unit.shots[shot]));
            runs.back().stills.push_back(unit.stills[shot]);
        }
    }
    return runs;
}

// In the first attempt, which decodes up to it from the key picture or, where a seek may end
// anywhere, with a run-up.
bool PictureRounds::takesFrameAtInstant(const Still &still) const
{
    return m_job.clues.canSeek && anyFrameAttempt(still.planned) &&
           !isBehindLast(still.planned, m_job.clues) &&
           (still.stage == Stage::Attempts || still.stage == Stage::Nearer) && still.attempt == 1 &&
           still.firstAttempt == 1;
}

// Whether decoding up to the later one's frame passes that of the earlier one.
bool PictureRounds::isInGroupOf(const Still &still, const Still &other) const
{
    if (!hasOneVideo(m_job.record) || !takesFrameAtInstant(still) || !takesFrameAtInstant(other)) {
        return false;
    }
    if (!m_job.clues.seeksToKeys) {
        return still.instant - other.instant <= longestRunUp;
    }
    const auto behind = m_job.listed.keyBehind(still.instant);
    return behind && behind == m_job.listed.keyBehind(other.instant);
}

void PictureRounds::shareInput(Run &group) const
{
    if (group.stills.size() < 2) {
        return;
    }
    const double first = group.stills.front()->instant;
    const double from = m_job.clues.seeksToKeys ? first : std::max(0.0, first - longestRunUp);
    const double until = group.stills.back()->instant + plannedLength;
    for (std::size_t i = 0; i < group.stills.size(); ++i) {
        const PictureAttempt any = anyFrameWithin(group.stills[i]->planned, from, until);
        group.shots[i].arguments = withDisplayColours(any.arguments, m_job.record);
        group.shots[i].seek = any.seek;
    }
}

} // namespace qv
