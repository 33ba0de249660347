#pragma once

#include <QFile>
#include <QString>

#include <gtest/gtest.h>

// Reports that ffmpeg printed, kept in tests/data/reports: info_* of a plain "-i", analysis_* of
// the run that decodes ten frames with a debug report.
namespace qv::tests
{

inline QString reportFile(const char *name)
{
    QFile file(QStringLiteral(QV_TEST_REPORTS "/%1.txt").arg(QLatin1String(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return QString::fromUtf8(file.readAll());
}

} // namespace qv::tests
