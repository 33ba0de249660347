#pragma once

#include "common/test_files.h"
#include "support/property_list.h"

#include <QVariantMap>

// A bundle of a test's own whose program prints the version that it was made with.
struct SmallApplication {
    QString version = QStringLiteral("2.0");
    QString identifier = QStringLiteral("org.quorvantel.Quorvantel");
    QVariantMap info = {};                                 // beyond the usual keys
    QByteArray program = "echo \"Quorvantel $VERSION\"\n"; // of a shell

    void write(const QString &path) const
    {
        QVariantMap keys = {{"CFBundleName", "Quorvantel"},
                            {"CFBundleIdentifier", identifier},
                            {"CFBundleShortVersionString", version},
                            {"CFBundleExecutable", "Quorvantel"}};
        keys.insert(info);
        writeFile(path + "/Contents/Info.plist", qv::propertyListXml(keys).value_or(QByteArray()));
        writeFile(path + "/Contents/MacOS/Quorvantel",
                  "#!/bin/sh\nVERSION=" + version.toUtf8() + '\n' + program);
        writeFile(path + "/Contents/Resources/tools/ffmpeg", "#!/bin/sh\n");
        QFile::setPermissions(path + "/Contents/MacOS/Quorvantel",
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
};
