#include "cli/command_test.h"

#include "cli/command.h"
#include "support/log.h"

#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryFile>

#include <filesystem>
#include <fstream>

QList<QJsonObject> Ran::objects() const
{
    QList<QJsonObject> objects;
    for (const QByteArray &line : out.split('\n')) {
        if (!line.isEmpty()) {
            const QJsonDocument document = QJsonDocument::fromJson(line);
            EXPECT_TRUE(document.isObject()) << line.constData();
            objects.append(document.object());
        }
    }
    return objects;
}

QStringList Ran::told(const char *key) const
{
    QStringList texts;
    for (const QJsonObject &object : objects()) {
        texts.append(object.value(key).toString("null"));
    }
    return texts;
}

CommandTest::CommandTest(TestBundle::Ffmpeg ffmpeg) : m_bundle(ffmpeg)
{
    qputenv("FAKE_TOOL_LOG", path("tool.log"));
    // The notes lie outside of what a confined tool may write.
    qputenv("QUORVANTEL_CONFINEMENT", ffmpeg == TestBundle::Ffmpeg::Fake ? "off" : "");
}

// Some names are none for QTemporaryDir.
CommandTest::~CommandTest()
{
    QDir::setCurrent(QDir::tempPath());
    std::error_code error;
    std::filesystem::remove_all(m_folder.path().toStdString(), error);
}

QByteArray CommandTest::path(const QByteArray &name) const
{
    return m_folder.path().toUtf8() + '/' + name;
}

QByteArray CommandTest::make(const QByteArray &name, const QByteArray &contents) const
{
    const std::filesystem::path file(path(name).toStdString());
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << contents.toStdString();
    return path(name);
}

QStringList CommandTest::namesIn(const QByteArray &folder) const
{
    return QDir(QString::fromUtf8(path(folder)))
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                   QDir::Name);
}

QImage CommandTest::pictureAt(const QByteArray &name) const
{
    return QImage(QString::fromUtf8(path(name)));
}

Ran CommandTest::run(const QByteArrayList &arguments)
{
    Ran ran;
    const QByteArray erase = "\r\033[K";
    QByteArray both;
    qv::Streams streams;
    streams.out = [&](const QByteArray &bytes) {
        ran.out += bytes;
        both += bytes;
        if (m_onResult) {
            m_onResult(bytes);
        }
    };
    streams.err = [&](const QByteArray &bytes) {
        ran.err += bytes;
        both += bytes;
    };
    streams.outIsTerminal = streams.errIsTerminal = m_terminal;
    streams.terminalColumns = 200;
    QTemporaryFile input;
    EXPECT_TRUE(input.open() && input.write(m_input) == m_input.size() && input.seek(0));
    streams.input = input.handle();
    streams.workerProgram = m_workerProgram;
    ran.status = qv::runCommand(arguments, streams);
    qv::setLogSink([](const QByteArray &) {});
    for (const QByteArray &line : both.split('\n')) {
        const qsizetype erased = line.lastIndexOf(erase);
        const qsizetype shown = erased < 0 ? 0 : erased + erase.size();
        ran.screen.append(QString::fromUtf8(line.mid(shown)));
    }
    return ran;
}

Ran CommandTest::sheets(const QByteArrayList &arguments)
{
    return run(QByteArrayList{"sheet", "--json", "-n", "3", "-o", path("out")} + arguments);
}

QByteArray CommandTest::clip(const QByteArray &name, const char *arguments) const
{
    make(name);
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", words("-v error -y") + words(arguments) +
                               QStringList{QFile::decodeName(path(name))});
    EXPECT_TRUE(ffmpeg.waitForFinished());
    EXPECT_EQ(ffmpeg.exitCode(), 0) << ffmpeg.readAllStandardError().constData();
    return path(name);
}

QByteArray CommandTest::soundClip(const QByteArray &name) const
{
    return clip(name, "-f lavfi -i testsrc=s=320x180:r=10:d=2 -f lavfi -i sine=d=2 "
                      "-c:v libx264 -preset ultrafast -g 5 -pix_fmt yuv420p -c:a aac");
}

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(' ');
}

QStringList scratchFolders()
{
    return QDir(QDir::tempPath()).entryList({"*Quorvantel-cli-*"}, QDir::Dirs | QDir::Hidden);
}
