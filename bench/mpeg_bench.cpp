// Reading the beginning, end and duration of a video stream of 4 GB against one of 4 MB: the reader
// looks at the two ends only. Prints both medians and their ratio; fails above the bound.
//
// mpeg_bench

#include "analysis/mpeg_info.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

constexpr int runs = 201;
constexpr double bound = 2;

QString makeStream(const QString &path, qint64 size)
{
    const QByteArray group = QByteArray::fromHex("000001b8 00080040");
    const QByteArray later = QByteArray::fromHex("000001b8 04080040 00000100 0010");
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QByteArray::fromHex("000001b3 2d0240 23 0ea62000") + group);
    file.seek(size - 3000);
    file.write(later);
    file.resize(size);
    return path;
}

// Microseconds; negative when the stream isn't read as it was made.
double oneReading(const QString &path)
{
    QElapsedTimer timer;
    timer.start();
    qv::mpegInfo reader;
    const QString error = reader.readInformations(path);
    const qv::MpegTimeCode expected{1, 0, 0, 1};
    const bool isGood = error.isNull() && reader.duration() == expected;
    return isGood ? static_cast<double>(timer.nsecsElapsed()) / 1e3 : -1;
}

double medianReading(const QString &path)
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        times.push_back(oneReading(path));
    }
    std::sort(times.begin(), times.end());
    return times.front() < 0 ? -1 : times[runs / 2];
}

} // namespace

int main()
{
    const QTemporaryDir folder;
    const double small =
        medianReading(makeStream(folder.filePath(QStringLiteral("small.m2v")), qint64{4} << 20));
    const double large =
        medianReading(makeStream(folder.filePath(QStringLiteral("large.m2v")), qint64{4} << 30));
    const bool isGood = small > 0 && large > 0 && large / small <= bound;
    std::printf("MPEG stream of 4 MB: %.1f us, of 4 GB: %.1f us, ratio %.2f (at most %.1f)%s\n",
                small, large, large / small, bound, isGood ? "" : "  MISSED");
    return isGood ? 0 : 1;
}
