// The runs that take several pictures at once, against one run a picture as planned: byte for byte.

#include "media/corpus.h"
#include "media/parallel.h"
#include "media/walk.h"

#include "analysis/listed_pictures.h"
#include "analysis/picture_instant.h"
#include "analysis/quick_probe.h"
#include "sheet/colour_filters.h"
#include "sheet/extraction_plan.h"
#include "sheet/picture_attempts.h"
#include "sheet/picture_run.h"
#include "sheet/record_values.h"
#include "support/bundle.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iostream>

using namespace qv;

namespace
{

QString output(const QStringList &command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.first(), command.mid(1));
    process.waitForFinished(-1);
    return QString::fromUtf8(process.readAll());
}

// Compares pictures of one source. The plan's other options are as for the sheet.
class Comparison
{
public:
    Comparison(const Source &source, const QVariantMap &record) : m_record(record)
    {
        const QString path = QFile::decodeName(corpusFolder() + '/' + source.name);
        const QStringList probe = quickProbeCommand(path, {}, {}, 0, {});
        m_listed = listedPictures(output(probe.first(probe.indexOf("-frame"))));
        QVariantMap input = record;
        input.insert("srcPathStr", path);
        input.insert("dstPathStr", m_folder.path());
        input.insert("thNumberInt", 24);
        for (const PlannedPicture &picture : planExtraction(2, input).pictures) {
            m_planned.push_back(picture.arguments);
        }
    }

    // Returns the number of equal pictures and reports those that differ.
    int compareIntraOnly(const QString &name)
    {
        const IntraOnly intra = intraOnlyDecoding(m_record);
        const bool areClosed = m_listed.groups == Groups::Closed;
        const bool isAlone = intra == IntraOnly::Yes || (intra == IntraOnly::Tried && areClosed);
        const bool isFirst = mayStartAtKeys(m_record, areClosed);
        std::vector<PictureShot> shots;
        std::vector<QStringList> alone;
        constexpr std::size_t few = 5; // every so many of the planned ones
        for (std::size_t i = 1; (isAlone || isFirst) && i < m_planned.size(); i += few) {
            const QStringList telling = tellingInstant(m_planned[i]);
            if (!anyFrameAttempt(telling)) {
                continue;
            }
            const double instant = plannedInstant(telling);
            const auto key = m_listed.nextKey(instant);
            const bool startsAtKey = key && isFirst && (i % 2 == 0 || !isAlone);
            if (!startsAtKey && !isAlone) {
                continue;
            }
            alone.push_back(telling);
            if (startsAtKey) {
                const PictureAttempt attempt =
                    keyFrameAttempt(m_planned[i], key->instant, key->length);
                shots.push_back(
                    {0, withoutLookingAtStreams(attempt.arguments, m_record), attempt.seek, false});
            } else {
                shots.push_back({0, decodingIntraOnly(telling), instant, false});
            }
        }
        return compare(shots, alone, name + " by intra frames");
    }

    int compareShared(const QString &name)
    {
        std::vector<QStringList> group; // of one key picture
        for (const QStringList &planned : m_planned) {
            if (!group.empty() && keyBehind(planned) != keyBehind(group.front())) {
                if (group.size() > 1) {
                    break;
                }
                group.clear();
            }
            if (anyFrameAttempt(planned) && keyBehind(planned)) {
                group.push_back(planned);
            }
        }
        std::vector<PictureShot> shots;
        std::vector<QStringList> alone;
        for (const QStringList &planned : group) {
            alone.push_back(anyFrameAttempt(planned)->arguments);
            const PictureAttempt any = anyFrameWithin(planned, plannedInstant(group.front()),
                                                      plannedInstant(group.back()) + 12);
            shots.push_back({0, any.arguments, any.seek, false});
        }
        return compare(shots, alone, name + " in a shared input");
    }

private:
    std::optional<qsizetype> keyBehind(const QStringList &planned) const
    {
        return m_listed.keyBehind(plannedInstant(planned));
    }

    int compare(std::vector<PictureShot> shots, const std::vector<QStringList> &alone,
                const QString &name)
    {
        if (shots.size() < 2) {
            return 0;
        }
        for (PictureShot &shot : shots) {
            shot.arguments =
                withoutLookingAtEnd(withDisplayColours(shot.arguments, m_record), m_record);
        }
        const QString said = output(pictureRun(shots, tellerName));
        int same = 0;
        for (std::size_t i = 0; i < shots.size(); ++i) {
            const QByteArray together = takeFile(shots[i].arguments.last());
            const auto instant = pictureInstant(said, Taken::First, static_cast<int>(i));
            // Those that did not come, or that stand behind the planned length, are taken anew.
            const double planned = plannedInstant(alone[i]);
            if (together.isEmpty() || (instant && shots[i].seek + *instant >= planned + 12)) {
                continue;
            }
            const auto aloneAt =
                pictureInstant(output(withDisplayColours(alone[i], m_record)), Taken::First);
            const QByteArray one = takeFile(alone[i].last());
            // The list is good to two frames only, and a seek to the very key picture of a
            // fragmented file loses some: then it is another picture, with another stamp.
            if (instant && aloneAt &&
                std::abs(shots[i].seek + *instant - planned - *aloneAt) < 0.01) {
                EXPECT_TRUE(together == one) << name.toStdString() << " #" << i;
                ++same;
            }
        }
        return same;
    }

    static QByteArray takeFile(const QString &path)
    {
        QFile file(path);
        const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        file.remove();
        return bytes;
    }

    QVariantMap m_record;
    QTemporaryDir m_folder;
    ListedPictures m_listed;
    std::vector<QStringList> m_planned;
};

} // namespace

TEST(MediaPictureRuns, GiveThePicturesOfOneRunEach)
{
    Bundle::setMain(Bundle(QStringLiteral(QV_BUNDLE)));
    std::vector<const Source *> sources;
    for (const Source &source : allSources()) {
        const Seen seen = source.companion ? Seen() : theWalk().quickOf(source);
        // Every seek in a damaged file may end elsewhere.
        if (seen.isRow() && isProgressive(seen.record) && !source.name.startsWith("damage/")) {
            sources.push_back(&source);
        }
    }
    std::atomic<int> byIntra = 0;
    std::atomic<int> shared = 0;
    forEachInParallel(sources.size(), [&](std::size_t i) {
        Comparison comparison(*sources[i], theWalk().quickOf(*sources[i]).record);
        const QString name = QString::fromUtf8(sources[i]->name);
        byIntra += comparison.compareIntraOnly(name);
        shared += comparison.compareShared(name);
    });
    std::cout << byIntra << " by intra frames, " << shared << " in shared inputs\n";
    EXPECT_GE(byIntra, static_cast<int>(sources.size()) / 2);
    EXPECT_GE(shared, static_cast<int>(sources.size()) / 3);
}
