#include "cli/command_test.h"

#include "cli/command.h"
#include "support/log.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>

#include <filesystem>
#include <fstream>

namespace
{

// Lines as a terminal shows them that knows "\r", "\n" and "erase to the end of the line".
QStringList screenOf(const QByteArray &bytes)
{
    QStringList lines{QString()};
    qsizetype column = 0;
    const QString text = QString::fromUtf8(bytes);
    for (qsizetype i = 0; i < text.size(); ++i) {
        QString &line = lines.last();
        if (text.at(i) == QLatin1Char('\n')) {
            lines.append(QString());
            column = 0;
        } else if (text.at(i) == QLatin1Char('\r')) {
            column = 0;
        } else if (text.mid(i, 3) == QLatin1String("\033[K")) {
            line.truncate(column);
            i += 2;
        } else {
            line.replace(column++, 1, text.at(i));
        }
    }
    return lines;
}

} // namespace

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
        texts.append(object.value(QLatin1String(key)).toString(QStringLiteral("null")));
    }
    return texts;
}

CommandTest::CommandTest(TestBundle::Ffmpeg ffmpeg) : m_bundle(ffmpeg)
{
    qputenv("FAKE_TOOL_PICTURE", samplePicture().toUtf8());
    qputenv("FAKE_TOOL_LOG", path("tool.log"));
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

Ran CommandTest::run(const QByteArrayList &arguments)
{
    Ran ran;
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
    ran.status = qv::runCommand(arguments, streams);
    qv::setLogSink([](const QByteArray &) {});
    ran.screen = screenOf(both);
    return ran;
}

Ran CommandTest::sheets(const QByteArrayList &arguments)
{
    return run(QByteArrayList{"sheet", "--json", "-n", "3", "-o", path("out")} + arguments);
}

QByteArray RealCommandTest::clip(const QByteArray &name, const QStringList &arguments) const
{
    make(name);
    const QStringList all =
        QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")} +
        arguments + QStringList{QFile::decodeName(path(name))};
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), all);
    EXPECT_TRUE(ffmpeg.waitForFinished()) << ffmpeg.readAllStandardError().constData();
    EXPECT_EQ(ffmpeg.exitCode(), 0) << ffmpeg.readAllStandardError().constData();
    return path(name);
}

QByteArray RealCommandTest::soundClip(const QByteArray &name) const
{
    return clip(name,
                QStringLiteral("-f lavfi -i testsrc=s=320x180:r=10:d=2 -f lavfi -i sine=d=2 "
                               "-c:v libx264 -preset ultrafast -g 5 -pix_fmt yuv420p -c:a aac")
                    .split(QLatin1Char(' ')));
}

QByteArray contentsOf(const QByteArray &path)
{
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList scratchFolders()
{
    return QDir(QDir::tempPath()).entryList({QStringLiteral("Quorvantel-cli-*")}, QDir::Dirs);
}
