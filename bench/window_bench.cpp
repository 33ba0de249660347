// How promptly the window answers while the application works: the longest time between two turns
// of the event loop, seen by a heartbeat, in each of its busy states.
//
// window_bench <folder for clips>

#include "common/recording_workspace.h"
#include "common/wait_until.h"
#include "shell/desktop.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

using namespace qv;

namespace
{

constexpr int beat = 5;             // milliseconds
constexpr double longestWait = 100; // milliseconds
constexpr int patience = 300'000;   // milliseconds
constexpr int clipCount = 40;
constexpr int sheetCount = 12;
constexpr int tableRows = 10'000;
constexpr int linesTold = 12;

// ---- the heartbeat

// The last lines of the log tell what the application was at when it missed a beat.
class LastLines
{
public:
    void take(const QByteArray &line)
    {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
        if (m_lines.size() > linesTold) {
            m_lines.pop_front();
        }
    }
    void tell() const
    {
        const std::lock_guard lock(m_mutex);
        for (const QByteArray &line : m_lines) {
            std::printf("      %s", line.constData());
        }
    }

private:
    mutable std::mutex m_mutex;
    std::deque<QByteArray> m_lines;
};

LastLines &lastLines()
{
    static LastLines lines;
    return lines;
}

class Heartbeat : public QObject
{
public:
    Heartbeat()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, &Heartbeat::note);
        m_clock.start();
        m_timer.start(beat);
    }

    // Milliseconds between two turns, ascending.
    std::vector<double> sorted()
    {
        note();
        std::sort(m_times.begin(), m_times.end());
        return m_times;
    }

private:
    void note()
    {
        const double time = static_cast<double>(m_clock.nsecsElapsed()) / 1e6;
        m_clock.restart();
        m_times.push_back(time);
        if (time > longestWait && qEnvironmentVariableIsSet("WINDOW_BENCH_TELL")) {
            std::printf("    %.0f ms:\n", time);
            lastLines().tell();
        }
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    std::vector<double> m_times;
};

// A thread that only sleeps: what it misses is the machine's doing, not the application's.
class Sleeper
{
public:
    double worst()
    {
        m_isOver = true;
        m_thread.join();
        return m_worst;
    }

private:
    void run()
    {
        QElapsedTimer clock;
        while (!m_isOver) {
            clock.restart();
            std::this_thread::sleep_for(std::chrono::milliseconds(beat));
            m_worst = std::max(m_worst, static_cast<double>(clock.nsecsElapsed()) / 1e6);
        }
    }

    std::atomic<bool> m_isOver = false;
    double m_worst = 0;
    std::thread m_thread{&Sleeper::run, this};
};

// The work begins from within the loop, as all that the user does.
bool answers(const char *what, const std::function<void()> &work,
             const std::function<bool()> &isOver)
{
    Sleeper sleeper;
    Heartbeat heartbeat;
    bool begun = false;
    QTimer::singleShot(0, qApp, [&] {
        work();
        begun = true;
    });
    const bool ended = waitUntil([&] { return begun && isOver(); }, patience);
    const std::vector<double> times = heartbeat.sorted();
    const bool misses = times.back() > longestWait;
    std::printf("%-41s worst %6.1f ms, 99 %% below %5.1f ms (a sleeping thread %5.1f)%s%s\n", what,
                times.back(), times.at(times.size() * 99 / 100), sleeper.worst(),
                misses ? "  MISSES ITS BOUND" : "", ended ? "" : "  DID NOT END");
    std::fflush(stdout);
    return ended && !misses;
}

// True some time after it is asked first.
std::function<bool()> after(int milliseconds)
{
    auto clock = std::make_shared<QElapsedTimer>();
    return [clock, milliseconds] {
        if (!clock->isValid()) {
            clock->start();
        }
        return clock->hasExpired(milliseconds);
    };
}

// ---- clips

struct Kind {
    const char *name;
    const char *format; // arguments of ffmpeg
};

constexpr Kind kinds[] = {
    {"film.mp4", "-c:v libx264 -preset ultrafast -g 50 -c:a aac -f mp4"},
    {"film.mkv", "-c:v libx264 -preset ultrafast -g 250 -c:a libmp3lame -f matroska"},
    {"film.avi", "-c:v mpeg4 -b:v 4M -c:a libmp3lame -f avi"},
    {"master.mov",
     "-c:v prores_ks -profile:v 3 -s 640x360 -pix_fmt yuv422p10le -c:a pcm_s16le -f mov"},
    {"tape.mov", "-c:v mjpeg -q:v 5 -pix_fmt yuvj420p -c:a pcm_s16le -f mov"},
    {"stream.mpg", "-c:v mpeg2video -b:v 4M -c:a mp2 -f mpeg"},
    {"bare.m2v", "-c:v mpeg2video -b:v 4M -an -f mpeg2video"},
    {"film.webm", "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 2M -c:a libopus -f webm"},
    {"00001.MTS", "-c:v libx264 -preset ultrafast -c:a ac3 -f mpegts -mpegts_m2ts_mode 1"},
};

bool makeClip(const QString &path, const Kind &kind)
{
    if (QFile::exists(path)) {
        return true;
    }
    const QString part = path + QStringLiteral(".part");
    QStringList arguments = QStringLiteral("-v error -y -f lavfi -i testsrc2=s=1280x720:r=25 "
                                           "-f lavfi -i sine=f=330 -t 15 -pix_fmt yuv420p")
                                .split(QLatin1Char(' '));
    arguments += QString::fromLatin1(kind.format).split(QLatin1Char(' '));
    return QProcess::execute(QStringLiteral("ffmpeg"), arguments << part) == 0 &&
           QFile::rename(part, path);
}

// The folder of a camcorder's card, with a playlist that tells nothing.
QString cardFolder(const QString &folder)
{
    const QString card = folder + QStringLiteral("/card/PRIVATE/AVCHD/BDMV");
    QDir().mkpath(card + QStringLiteral("/STREAM"));
    QDir().mkpath(card + QStringLiteral("/PLAYLIST"));
    QFile playlist(card + QStringLiteral("/PLAYLIST/00000.MPL"));
    if (playlist.open(QIODevice::WriteOnly)) {
        playlist.write("MPLS0100");
    }
    return card + QStringLiteral("/STREAM");
}

// Many sources out of a few clips.
QStringList makeSources(const QString &clips, const QString &folder)
{
    const QString card = cardFolder(folder);
    QStringList sources;
    for (int i = 0; i < clipCount; ++i) {
        const Kind &kind = kinds[static_cast<std::size_t>(i) % std::size(kinds)];
        const QString name = QString::fromLatin1(kind.name);
        const QString clip = clips + QStringLiteral("/window-") + name;
        if (!makeClip(clip, kind)) {
            std::printf("no clip %s\n", kind.name);
            return {};
        }
        const bool onCard = name.endsWith(QLatin1String(".MTS"));
        const QString source =
            onCard ? QStringLiteral("%1/%2.MTS").arg(card).arg(i, 5, 10, QLatin1Char('0'))
                   : QStringLiteral("%1/%2 %3").arg(folder).arg(i).arg(name);
        if (!QFile::link(clip, source)) {
            return {};
        }
        sources.append(source);
    }
    return sources;
}

QString makeManyFiles(const QString &folder)
{
    const QString many = folder + QStringLiteral("/many");
    for (int i = 0; i < 2 * tableRows; ++i) {
        const QString part = QStringLiteral("%1/%2").arg(many).arg(i / 500);
        if (i % 500 == 0) {
            QDir().mkpath(part);
        }
        const char *extension = i % 2 == 0 ? "mp4" : "txt";
        QFile file(QStringLiteral("%1/Holidays in the mountains %2.%3")
                       .arg(part)
                       .arg(i)
                       .arg(QLatin1String(extension)));
        if (file.open(QIODevice::WriteOnly)) {
            file.write("x");
        }
    }
    return many;
}

// ---- the window at work

QDialog *openDialog()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *dialog = qobject_cast<QDialog *>(widget); dialog && dialog->isVisible()) {
            return dialog;
        }
    }
    return nullptr;
}

void closeDialogs()
{
    waitUntil([] { return openDialog() != nullptr; }, 1000);
    waitUntil(
        [] {
            QDialog *dialog = openDialog();
            if (dialog != nullptr) {
                dialog->reject();
            }
            return dialog == nullptr;
        },
        5000);
}

class WindowAtWork
{
public:
    explicit WindowAtWork(Desktop &desktop)
        : m_desktop(desktop), m_controller(desktop.controller()),
          m_table(m_controller.whichArrayController())
    {
    }

    bool analyses(const QStringList &sources)
    {
        bool good = answers(
            "analysing 40 clips", [&] { m_desktop.openPaths(sources); },
            [&] { return m_table.count() > 0 && m_controller.isGateOpen(); });
        if (m_table.count() != clipCount) {
            std::printf("only %d of %d clips became rows\n", m_table.count(), clipCount);
            good = false;
        }
        return good;
    }

    bool encodes()
    {
        keepRows();
        const auto row = [&](int i) {
            return [this, i] {
                return m_controller.encBatchInprogressRowIdentification() == i &&
                       m_controller.window().stepValue > 3;
            };
        };
        const auto pauseOrResume = [&] { m_controller.iba_taskStopBt(StopControl::pauseSegment); };
        bool good = answers(
            "making sheets 1 to 4", [&] { m_controller.iba_batchGoBt(); }, row(4));
        good = answers("pausing, and a pause", pauseOrResume, after(1000)) && good;
        good = answers("resuming, and sheets 5 to 12", pauseOrResume,
                       [&] { return !m_controller.window().goPressed; }) &&
               good;
        closeDialogs();
        if (!areMade()) {
            std::printf("not all %d sheets were made\n", sheetCount);
            return false;
        }
        return good;
    }

    // The loop below the question's own ends only when it has been answered.
    bool asks()
    {
        bool answered = false;
        return answers(
            "a question about a sheet that is there", [&] { m_controller.iba_batchGoBt(); },
            [&, wait = after(2000)] {
                if (!answered && wait() && openDialog() != nullptr) {
                    answered = true;
                    m_controller.iba_taskStopBt(StopControl::stopSegment);
                    openDialog()->reject();
                }
                return answered && !m_controller.window().goPressed;
            });
    }

    bool admitsMany(const QString &folder)
    {
        m_controller.encBatchRemoveAll(appDelegate::Sender::Internal);
        bool good = answers(
            "a drop of 20,000 files", [&] { m_desktop.openPaths({folder}); }, after(3000));
        // As it happens when a tool takes longer than a moment.
        good = answers(
                   "saving the queue of 10,000", [&] { m_desktop.preferences().synchronize(); },
                   after(300)) &&
               good;
        good = answers(
                   "stopping its analysis", [&] { m_controller.iba_analysisStopBt(); },
                   [&] { return m_controller.isGateOpen(); }) &&
               good;
        return good;
    }

    bool removesMany(const QString &folder)
    {
        bool good = true;
        for (const bool selected : {true, false}) {
            fillTable(folder);
            const auto remove = [&] {
                if (selected) {
                    m_desktop.drawer().view()->selectAll();
                    m_controller.encBatchRemove(appDelegate::Sender::Button);
                } else {
                    m_controller.encBatchRemoveAll(appDelegate::Sender::Internal);
                }
            };
            good = answers(selected ? "removing 10,000 selected rows" : "removing all 10,000 rows",
                           remove, after(300)) &&
                   good;
        }
        return good;
    }

private:
    // Twelve rows of every layout and both kinds of picture.
    void keepRows()
    {
        QList<int> others;
        for (int i = sheetCount; i < m_table.count(); ++i) {
            others.append(i);
        }
        m_table.select(others);
        m_controller.encBatchRemove(appDelegate::Sender::Internal);
        for (int i = 0; i < m_table.count(); ++i) {
            m_table.row(i).out = i % 4;
            m_table.row(i).dpi = i / 4 % 2;
        }
    }

    bool areMade() const
    {
        int made = 0;
        for (int i = 0; i < m_table.count(); ++i) {
            made += m_table.row(i).resultat == RowMark::PuceSuccess ? 1 : 0;
        }
        return made == sheetCount;
    }

    void fillTable(const QString &folder)
    {
        for (int i = 0; i < tableRows; ++i) {
            const QString preview = QStringLiteral("%1/preview-%2.jpg").arg(folder).arg(i);
            QFile file(preview);
            if (file.open(QIODevice::WriteOnly)) {
                file.write(QByteArray(4096, 'x'));
            }
            BatchItem item;
            item.dico.insert(QStringLiteral("srcPathStr"),
                             QStringLiteral("/media/films/film %1.mp4").arg(i));
            item.dico.insert(QStringLiteral("imgPathStr"), preview);
            m_table.add(std::move(item));
        }
        m_desktop.drawer().rowsChanged();
    }

    Desktop &m_desktop;
    appDelegate &m_controller;
    BatchTable &m_table;
};

// A user who has never run the application, without a desktop around.
void prepareUser(const QString &home)
{
    for (const char *name : {"home", "tmp", "run"}) {
        QDir(home).mkpath(QString::fromLatin1(name));
    }
    const QString run = home + QStringLiteral("/run");
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(home + QStringLiteral("/home")));
    qputenv("TMPDIR", QFile::encodeName(home + QStringLiteral("/tmp")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(run));
    qunsetenv("XDG_CONFIG_HOME");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(run) + "/no-bus");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C.UTF-8");
}

bool measure(const QString &clips, const QString &home)
{
    const QString folder = home + QStringLiteral("/films");
    QDir().mkpath(folder);
    QDir().mkpath(clips);
    const QStringList sources = makeSources(clips, folder);
    const QString many = makeManyFiles(home);
    Desktop::Launch launch;
    launch.turnOverLogs = [] {};
    Desktop desktop(std::make_unique<RecordingWorkspace>(), std::make_unique<FileChooser>(),
                    launch);
    if (sources.isEmpty() || !desktop.awakeFromNib()) {
        return false;
    }
    desktop.show();
    waitUntil(after(500));
    WindowAtWork work(desktop);
    bool good = work.analyses(sources);
    good = work.encodes() && good;
    good = work.asks() && good;
    good = work.admitsMany(many) && good;
    good = work.removesMany(home) && good;
    desktop.quit(appDelegate::Quit::AtOnce);
    return good;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: window_bench <folder for clips>\n", stderr);
        return 2;
    }
    const QTemporaryDir home;
    prepareUser(home.path());
    const QApplication application(argc, argv);
    setLogSink([](const QByteArray &line) { lastLines().take(line); });
    Bundle::setMain(Bundle(QStringLiteral(QV_BUILT_BUNDLE)));
    setLanguage(QStringLiteral("en"));
    setLogFolder(home.path() + QStringLiteral("/logs"));
    return measure(QDir(QString::fromLocal8Bit(argv[1])).absolutePath(), home.path()) ? 0 : 1;
}
