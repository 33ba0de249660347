#pragma once

#include "support/bundle.h"

#include <QString>
#include <QTemporaryDir>

// A bundle of a test's own: the built one's Info.plist and string tables, and a chosen ffmpeg. The
// process's main bundle while it lives, and its words in English unless a test takes others. The
// fake tool copies the sample picture.
class TestBundle
{
public:
    enum class Ffmpeg { Fake, Real, None };
    explicit TestBundle(Ffmpeg ffmpeg);
    ~TestBundle();

    QString path() const;
    QString tool(const QString &name) const;

private:
    QTemporaryDir m_folder;
    qv::Bundle m_before;
};

// A tool that the build made.
QString builtTool(const QString &name);
// The program that plays a tool's behaviours.
QString fakeTool();
// A small real JPEG file, made once.
QString samplePicture();
