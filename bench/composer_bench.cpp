// Composing and writing a sheet of 48 stills against decoding the same 48 files at full size.
// Prints both medians and their ratio; fails when composing takes longer.
#include "sheet/composer.h"
#include "sheet/xmp_packet.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace
{

constexpr int stillCount = 48;
constexpr QSize stillSize(1280, 720);
constexpr int runs = 9;
constexpr int minimumLayout = 2;

// What a camera gives, roughly: soft gradients, some edges, a little noise.
QImage photograph(quint32 seed)
{
    QRandomGenerator random(seed);
    QImage picture(stillSize, QImage::Format_RGB32);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 300, stillSize.height());
    sky.setColorAt(0, QColor::fromHsv(random.bounded(360), 120, 230));
    sky.setColorAt(1, QColor::fromHsv(random.bounded(360), 160, 90));
    painter.fillRect(picture.rect(), sky);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 60; ++i) {
        painter.setBrush(QColor::fromHsv(random.bounded(360), 100, 60 + random.bounded(180), 120));
        painter.drawEllipse(
            QPoint(random.bounded(stillSize.width()), random.bounded(stillSize.height())),
            10 + random.bounded(160), 10 + random.bounded(120));
    }
    painter.end();
    for (int y = 0; y < picture.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int noise = random.bounded(13) - 6;
            const auto noisy = [&](int value) { return std::clamp(value + noise, 0, 255); };
            line[x] = qRgb(noisy(qRed(line[x])), noisy(qGreen(line[x])), noisy(qBlue(line[x])));
        }
    }
    return picture;
}

double medianMilliseconds(const std::function<void()> &work)
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

QStringList makeStills(const QString &folder)
{
    QStringList stills;
    for (int i = 0; i < stillCount; ++i) {
        stills << QStringLiteral("%1/img%2.jpg").arg(folder).arg(i, 2, 10, QLatin1Char('0'));
        photograph(static_cast<quint32>(i)).save(stills.last(), "jpg", 95);
    }
    return stills;
}

QVariantMap displayOf(const QString &folder, const QStringList &stills)
{
    QVariantMap timecodes;
    for (int i = 0; i < stillCount; ++i) {
        timecodes[QString::number(i)] = QStringLiteral("0:%1:00").arg(i, 2, 10, QLatin1Char('0'));
    }
    return {{QStringLiteral("dstPathStr"), folder},
            {QStringLiteral("bigMedMinMix"), minimumLayout},
            {QStringLiteral("th"), stills},
            {QStringLiteral("wTh"), stillSize.width()},
            {QStringLiteral("hTh"), stillSize.height()},
            {QStringLiteral("borderColor"), QStringLiteral("0.80,0.80,0.80,1.00")},
            {QStringLiteral("borderSize"), 1.0},
            {QStringLiteral("bkgColor"), QStringLiteral("1.00,1.00,1.00,1.00")},
            {QStringLiteral("name"), QStringLiteral("Holiday")},
            {QStringLiteral("duration"), QStringLiteral("0h48'00\"")},
            {QStringLiteral("essence"), QStringLiteral("Wrapper mov (.mov)")},
            {QStringLiteral("timecode"), timecodes}};
}

qv::Provenance provenanceOf(const QString &folder)
{
    qv::Provenance provenance;
    provenance.application = QStringLiteral("Quorvantel");
    provenance.sourceName = QStringLiteral("Holiday.mov");
    provenance.sourcePath = folder.toUtf8() + "/Holiday.mov";
    provenance.source = qv::sourceState(folder);
    provenance.made = provenance.source.modified;
    provenance.settings.format = QStringLiteral("jpg");
    for (int i = 0; i < stillCount; ++i) {
        provenance.instants.append(i * 60.125);
    }
    return provenance;
}

// What a finished sheet's own words cost: written into its bytes, and read from its file.
void measureProvenance(const QString &sheet, const qv::Provenance &provenance, int &failures)
{
    QFile file(sheet);
    failures += file.open(QIODevice::ReadOnly) ? 0 : 1;
    const QByteArray bytes = file.readAll();
    const double writing = medianMilliseconds(
        [&] { failures += qv::withXmp(bytes, qv::xmpPacket(provenance)) ? 0 : 1; });
    const double reading = medianMilliseconds(
        [&] { failures += qv::readProvenance(QFile::encodeName(sheet)) ? 0 : 1; });
    std::printf("what the sheet tells (%s, %.1f MB): %.2f ms to write, %.2f ms to read\n",
                qPrintable(QFileInfo(sheet).suffix()), static_cast<double>(bytes.size()) / 1e6,
                writing, reading);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString base = folder.filePath(QStringLiteral("stills"));
    QDir().mkpath(base);
    const QStringList stills = makeStills(base);
    const QVariantMap display = displayOf(base, stills);

    int failures = 0;
    const double decoding = medianMilliseconds([&] {
        for (const QString &still : stills) {
            failures += QImageReader(still).read().isNull() ? 1 : 0;
        }
    });
    const qv::Provenance provenance = provenanceOf(base);
    const auto composing = [&](int dpi) {
        return medianMilliseconds([&] {
            const auto sheet = qv::sheetPicture(dpi, display, provenance);
            failures += sheet && sheet->drawn == stillCount ? 0 : 1;
        });
    };
    const double jpeg = composing(0);
    const double png = composing(1);
    std::printf("decoding %d stills at full size: %.1f ms\n", stillCount, decoding);
    std::printf("composing and writing, JPEG:     %.1f ms, ratio %.2f\n", jpeg, jpeg / decoding);
    std::printf("composing and writing, PNG:      %.1f ms, ratio %.2f\n", png, png / decoding);
    measureProvenance(base + QStringLiteral(".jpg"), provenance, failures);
    measureProvenance(base + QStringLiteral(".png"), provenance, failures);
    return failures == 0 && jpeg <= decoding ? 0 : 1;
}
