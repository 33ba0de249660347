#include "common/test_bundle.h"

#include "support/localized_strings.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QStandardPaths>

namespace
{

const QString builtBundle = QStringLiteral(QV_BUILT_BUNDLE);

void copyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QString &name : QDir(from).entryList(QDir::Files)) {
        QFile::copy(from + QLatin1Char('/') + name, to + QLatin1Char('/') + name);
    }
}

// Nobody answers at its update address.
void copyInfo(const QString &to)
{
    QFile built(builtBundle + QStringLiteral("/Contents/Info.plist"));
    QFile copy(to);
    if (built.open(QIODevice::ReadOnly) && copy.open(QIODevice::WriteOnly)) {
        static const QRegularExpression address(
            QStringLiteral("(<key>QVUpdateAddress</key>\\s*<string>)[^<]*"));
        copy.write(QString::fromUtf8(built.readAll())
                       .replace(address, QStringLiteral("\\1http://127.0.0.1:1/"))
                       .toUtf8());
    }
}

} // namespace

TestBundle::TestBundle(Ffmpeg ffmpeg) : m_before(qv::Bundle::main())
{
    const QString contents = path() + QStringLiteral("/Contents");
    const QString resources = contents + QStringLiteral("/Resources");
    QDir().mkpath(resources + QStringLiteral("/tools"));
    copyInfo(contents + QStringLiteral("/Info.plist"));
    for (const QString &language : {QStringLiteral("/en.lproj"), QStringLiteral("/fr.lproj")}) {
        copyFolder(builtBundle + QStringLiteral("/Contents/Resources") + language,
                   resources + language);
    }
    QFile::link(builtBundle + QStringLiteral("/Contents/Resources/fonts"),
                resources + QStringLiteral("/fonts"));
    if (ffmpeg != Ffmpeg::None) {
        const QString target = ffmpeg == Ffmpeg::Fake
                                   ? fakeTool()
                                   : QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
        QFile::link(target, tool(QStringLiteral("ffmpeg")));
    }
    // Confined tools read nothing else.
    const QString picture = path() + QStringLiteral("/sample.jpg");
    QFile::copy(samplePicture(), picture);
    qputenv("FAKE_TOOL_PICTURE", picture.toUtf8());
    qv::Bundle::setMain(qv::Bundle(path()));
    qv::setLocalizationBundle(qv::Bundle::main());
    qv::setLocalizationTable(QStringLiteral("Localized"));
    qv::setLanguage(QStringLiteral("en"));
}

TestBundle::~TestBundle()
{
    qv::Bundle::setMain(m_before);
    qv::setLanguage(QStringLiteral("en"));
}

QString TestBundle::path() const
{
    return m_folder.filePath(QStringLiteral("Test.app"));
}

QString TestBundle::tool(const QString &name) const
{
    return path() + QStringLiteral("/Contents/Resources/tools/") + name;
}

QString builtTool(const QString &name)
{
    return builtBundle + QStringLiteral("/Contents/Resources/tools/") + name;
}

QString fakeTool()
{
    return QStringLiteral(QV_FAKE_TOOL);
}

QString samplePicture()
{
    static const QString path = [] {
        QImage image(64, 36, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        QPainter(&image).fillRect(8, 8, 20, 20, Qt::yellow);
        const QString file = QDir::tempPath() + QStringLiteral("/sample-picture.jpg");
        image.save(file);
        return file;
    }();
    return path;
}
