#pragma once

#include "support/log.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Tests run with a home and a temporary folder of their own, so nothing of the user's is touched,
// and with their trace lines kept quiet.
template <typename Application> int runTests(int argc, char **argv)
{
    QTemporaryDir sandbox(QDir::tempPath() + QStringLiteral("/quorvantel-test-XXXXXX"));
    const QString home = sandbox.filePath(QStringLiteral("users/tester"));
    const QString tmp = sandbox.filePath(QStringLiteral("tmp"));
    QDir().mkpath(home);
    QDir().mkpath(tmp);
    qputenv("HOME", home.toUtf8());
    qputenv("TMPDIR", tmp.toUtf8());
    for (const char *name :
         {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "GST_REGISTRY"}) {
        qunsetenv(name);
    }
    qputenv("LANG", "en_US.UTF-8");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const Application application(argc, argv);
    qv::setLogSink([](const QByteArray &) {});
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
