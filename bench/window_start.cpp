// How long the application takes from its start to its first painted window, on the offscreen
// platform and on a screen of its own, also as a ratio to a program with an empty window.

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

namespace
{

constexpr int starts = 7;
constexpr int patience = 20'000;      // milliseconds
constexpr double longestStart = 1000; // milliseconds

qint64 now()
{
    QElapsedTimer clock;
    clock.start();
    return clock.msecsSinceReference();
}

// Of a user who has never run the application.
QProcessEnvironment environment(const QString &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"home", "tmp", "run"}) {
        QDir(home).mkpath(QString::fromLatin1(name));
    }
    const QString run = home + QStringLiteral("/run");
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("HOME"), home + QStringLiteral("/home"));
    environment.insert(QStringLiteral("TMPDIR"), home + QStringLiteral("/tmp"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), run);
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(QV_FIRST_PAINT));
    environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
    return environment;
}

// Milliseconds; nothing when no window came.
std::optional<double> startOf(const QString &program, QProcessEnvironment settings)
{
    const QTemporaryDir home;
    const QProcessEnvironment base = environment(home.path());
    for (const QString &name : base.keys()) {
        if (!settings.contains(name)) {
            settings.insert(name, base.value(name));
        }
    }
    QProcess process;
    process.setProcessEnvironment(settings);
    process.setStandardErrorFile(QProcess::nullDevice());
    const qint64 before = now();
    process.start(program, {});
    const QByteArray mark("first paint: ");
    QByteArray printed;
    while (!printed.contains('\n') && process.waitForReadyRead(patience)) {
        printed += process.readAllStandardOutput();
    }
    process.terminate();
    if (!process.waitForFinished(patience)) {
        process.kill();
        process.waitForFinished();
    }
    return printed.startsWith(mark)
               ? std::optional(printed.mid(mark.size()).trimmed().toDouble() / 1e6 -
                               static_cast<double>(before))
               : std::nullopt;
}

std::optional<double> medianStart(const QString &program, const QProcessEnvironment &settings)
{
    std::vector<double> times;
    for (int i = 0; i < starts; ++i) {
        const std::optional<double> time = startOf(program, settings);
        if (!time) {
            std::printf("%s shows no window\n", qUtf8Printable(program));
            return std::nullopt;
        }
        times.push_back(*time);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

bool measure(const char *where, const QProcessEnvironment &settings)
{
    const auto bare = medianStart(QStringLiteral(QV_BARE_WINDOW), settings);
    const auto whole = medianStart(
        QStringLiteral(QV_BUILT_BUNDLE) + QStringLiteral("/Contents/MacOS/Quorvantel"), settings);
    if (!bare || !whole) {
        return false;
    }
    const bool misses = *whole > longestStart;
    std::printf("start, %-12s bare window %6.0f ms, application %6.0f ms (%.2f times)%s\n", where,
                *bare, *whole, *whole / *bare, misses ? "  MISSES ITS BOUND" : "");
    std::fflush(stdout);
    return !misses;
}

// A screen of its own, while it lives.
class Screen
{
public:
    bool start()
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (program.isEmpty()) {
            return false;
        }
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(program, {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                  QStringLiteral("-screen"), QStringLiteral("0"),
                                  QStringLiteral("1400x900x24"), QStringLiteral("-nolisten"),
                                  QStringLiteral("tcp")});
        while (!m_number.contains('\n') && m_process.waitForReadyRead(patience)) {
            m_number += m_process.readAllStandardOutput();
        }
        return m_number.contains('\n');
    }
    ~Screen()
    {
        m_process.terminate();
        m_process.waitForFinished(patience);
    }
    QString display() const { return QLatin1Char(':') + QString::fromLatin1(m_number.trimmed()); }

private:
    QProcess m_process;
    QByteArray m_number;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString platform = QStringLiteral("QT_QPA_PLATFORM");
    QProcessEnvironment settings;
    settings.insert(platform, QStringLiteral("offscreen"));
    bool good = measure("offscreen", settings);
    Screen screen;
    if (screen.start()) {
        settings.insert(platform, QStringLiteral("xcb"));
        settings.insert(QStringLiteral("DISPLAY"), screen.display());
        good = measure("X server", settings) && good;
    } else {
        std::printf("start, X server: there is no Xvfb\n");
    }
    return good ? 0 : 1;
}
