// The batch table with 10,000 rows: memory over an empty one, time to show it, frames while
// scrolling, adding and removing a row. Fails when memory or a frame misses its bound.
#include "common/recording_workspace.h"
#include "settings/preferences_store.h"
#include "shell/batch_drawer.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QScrollBar>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int rowCount = 10000;
constexpr int differentPreviews = 25;
constexpr int pixelSteps = 600;
constexpr int pixelStep = 24;
constexpr int repetitions = 9;
constexpr double mostMegabytes = 250;
constexpr double longestFrame = 100; // ms

class WindowFace : public qv::Face
{
public:
    qv::BatchDrawer *drawer = nullptr;

    void rowsChanged() override { drawer->rowsChanged(); }
    void rowChanged(int row) override { drawer->rowChanged(row); }
    QString destination() const override { return {}; }
    void setDestination(const QString &) override {}
    QString defaultDestination() const override { return {}; }
    void setDefaultDestination(const QString &) override {}
    int layoutIndex() const override { return 1; }
    int pictureChoice() const override { return 0; }
    QString layoutLabel(int) const override { return {}; }
    int thumbnailCount(int) const override { return 15; }
    bool captionShown(const QString &) const override { return true; }
    bool wantsQuickPictures() const override { return false; }
};

class NoMovies : public qv::MovieFramework
{
public:
    bool canOpen(const QString &) override { return false; }
    bool hasDecoder(const QString &) override { return false; }
    std::optional<qv::MediaInfoRecord> record(const QString &) override { return std::nullopt; }
    bool thumbnail(const QString &, int, int, double, const QString &) override { return false; }
};

QByteArray previewFile(const QString &scratch, int seed)
{
    QImage picture(160, 90, QImage::Format_RGB32);
    QPainter painter(&picture);
    QLinearGradient light(0, 0, 160, 90);
    light.setColorAt(0, QColor::fromHsv(seed * 14 % 360, 120, 230));
    light.setColorAt(1, QColor::fromHsv((seed * 14 + 90) % 360, 180, 80));
    painter.fillRect(picture.rect(), light);
    for (int i = 0; i < 30; ++i) {
        painter.drawEllipse(QPoint(i * 37 * seed % 160, i * 23 % 90), 3 + i, 2 + i % 7);
    }
    painter.end();
    picture.save(scratch, "jpg", 85);
    QFile file(scratch);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void makePreviews(const QString &folder)
{
    std::vector<QByteArray> files;
    for (int i = 0; i < differentPreviews; ++i) {
        files.push_back(previewFile(folder + QStringLiteral("/scratch.jpg"), i + 1));
    }
    for (int i = 0; i < rowCount; ++i) {
        QFile file(QStringLiteral("%1/%2.jpg").arg(folder).arg(i));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(files.at(static_cast<size_t>(i % differentPreviews)));
        }
    }
}

// As the parsers make them: keys and texts of their own in each record.
qv::MediaInfoRecord record(const QString &source, const QString &preview, int number)
{
    qv::MediaInfoRecord record;
    const auto put = [&](const char *key, const QVariant &value) {
        record.insert(QString::fromLatin1(key), value);
    };
    const auto text = [](const char *value) { return QString::fromLatin1(value); };
    put("srcPathStr", source);
    put("imgPathStr", preview);
    put("wrapper", text("mov,mp4,m4a,3gp,3g2,mj2"));
    put("w_duration", 60 + number);
    put("w_bitrate", 8000 + number);
    put("w_offset", 0.0);
    put("v0_codec", text("h264 (High)"));
    put("v0_chroma", text("yuv420p"));
    put("v0_width", 1920);
    put("v0_height", 1080);
    put("v0_par", text("1:1"));
    put("v0_dar", text("16:9"));
    put("v0_bitrate", 7800);
    put("v0_fps", 25.0);
    put("v0_tbc", 50.0);
    put("v0_fields", text("progressive"));
    put("v0_id", 0);
    for (const char *stream : {"a0", "a1"}) {
        const QString prefix = QString::fromLatin1(stream);
        record.insert(prefix + QStringLiteral("_codec"), text("aac (LC)"));
        record.insert(prefix + QStringLiteral("_rate"), 48000);
        record.insert(prefix + QStringLiteral("_channels"), 2);
        record.insert(prefix + QStringLiteral("_bitrate"), 192);
        record.insert(prefix + QStringLiteral("_lang"), text("eng"));
        record.insert(prefix + QStringLiteral("_id"), 1);
    }
    put("dstPathStr", source + QStringLiteral(".jpg"));
    return record;
}

qv::BatchItem row(const QString &previews, int number)
{
    const QString source =
        QStringLiteral("/media/films/Holidays in the mountains, summer %1.mp4").arg(number);
    const QString preview =
        QStringLiteral("%1/%2.jpg").arg(previews, QString::number(number % rowCount));
    qv::BatchItem item;
    item.dico = record(source, preview, number);
    item.src = qv::rowCaption(item.dico, source);
    item.resultat = static_cast<qv::RowMark>(number % 4 == 1 ? 0 : number % 4);
    if (item.resultat == qv::RowMark::PuceFailure) {
        item.reason = QStringLiteral("no picture could be taken from it");
    }
    return item;
}

double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    const QList<QByteArray> pages =
        file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QList<QByteArray>();
    return pages.value(1).toDouble() * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

double milliseconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

struct Times {
    double median = 0;
    double worst = 0;
};

Times summed(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return {times.at(times.size() / 2), times.back()};
}

Times repeated(const std::function<void()> &work)
{
    std::vector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.push_back(milliseconds(work));
    }
    return summed(times);
}

void showNow(qv::BatchDrawer &drawer)
{
    QApplication::processEvents();
    drawer.repaint();
}

Times scrolled(qv::BatchView &view, int from, int step, int frames)
{
    QScrollBar *bar = view.verticalScrollBar();
    std::vector<double> times;
    for (int i = 0; i < frames && from + i * step <= bar->maximum(); ++i) {
        times.push_back(milliseconds([&] {
            bar->setValue(from + i * step);
            view.viewport()->repaint();
            QApplication::processEvents();
        }));
    }
    return summed(times);
}

int report(const char *what, const Times &times, double bound)
{
    const bool misses = bound > 0 && times.worst > bound;
    std::printf("%-34s %9.2f %9.2f%s\n", what, times.median, times.worst,
                misses ? "  MISSES ITS BOUND" : "");
    return misses ? 1 : 0;
}

int measure(qv::appDelegate &controller, qv::BatchDrawer &drawer, const QString &previews)
{
    qv::BatchView &view = *drawer.view();
    qv::BatchTable &table = controller.whichArrayController();
    const double empty = residentMegabytes();
    for (int i = 0; i < rowCount; ++i) {
        table.add(row(previews, i));
    }
    const double records = residentMegabytes() - empty;
    std::printf("%-34s %9s %9s\n", "ms", "median", "worst");
    const double shown = milliseconds([&] {
        drawer.rowsChanged();
        showNow(drawer);
    });
    int failures = report("showing the rows", {shown, shown}, longestFrame);

    const int page = view.verticalScrollBar()->pageStep();
    failures += report("frame, page by page", scrolled(view, 0, page, rowCount), longestFrame);
    failures += report("frame, by 24 pixels", scrolled(view, rowCount * 10, pixelStep, pixelSteps),
                       longestFrame);
    failures += report("adding a row", repeated([&] {
                           table.add(row(previews, table.count()));
                           drawer.rowsChanged();
                           showNow(drawer);
                       }),
                       longestFrame);
    failures += report("removing the first row", repeated([&] {
                           view.selectRow(0);
                           controller.encBatchRemove(qv::appDelegate::Sender::Internal);
                           showNow(drawer);
                       }),
                       longestFrame);
    failures += report("selecting all", repeated([&] {
                           view.selectAll();
                           showNow(drawer);
                       }),
                       longestFrame);
    failures += report(
        "refusing a source, 10,000 times",
        [&] {
            int number = 0;
            std::vector<double> times;
            for (int i = 0; i < rowCount; ++i) {
                times.push_back(milliseconds([&] {
                    drawer.addRefused(QStringLiteral("/media/films/broken %1.mp4").arg(number++),
                                      QStringLiteral("this is no video: it holds text"));
                    QApplication::processEvents();
                }));
            }
            return summed(times);
        }(),
        longestFrame);

    const double more = residentMegabytes() - empty;
    const bool tooMuch = more > mostMegabytes;
    std::printf("memory over the empty table: %.1f MB, of which rows %.1f MB%s\n", more, records,
                tooMuch ? "  MISSES ITS BOUND" : "");
    return failures + (tooMuch ? 1 : 0);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    qv::setLogSink([](const QByteArray &) {});
    qv::Bundle::setMain(qv::Bundle(QStringLiteral(QV_BUILT_BUNDLE)));
    qv::setLocalizationBundle(qv::Bundle::main());
    const QTemporaryDir folder;
    makePreviews(folder.path());

    qv::PreferencesStore preferences;
    WindowFace face;
    NoMovies movies;
    RecordingWorkspace workspace;
    qv::appDelegate controller(preferences, face, movies, {});
    qv::BatchDrawer drawer(controller, workspace);
    face.drawer = &drawer;
    drawer.resize(900, 800);
    drawer.show();
    showNow(drawer);
    return measure(controller, drawer, folder.path()) == 0 ? 0 : 1;
}
