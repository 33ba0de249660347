#pragma once

#include "analysis/media_info_record.h"

#include <gtest/gtest.h>

namespace qv::tests
{

inline QVariant valueOf(const QString &text)
{
    bool isWhole = false;
    const int whole = text.toInt(&isWhole);
    bool isNumber = false;
    const float number = text.toFloat(&isNumber);
    return isWhole ? QVariant(whole) : isNumber ? QVariant(number) : QVariant(text);
}

// Expected are pairs as "key=value; key=value"; a key without value is expected to be absent.
inline void expectRecord(const qv::MediaInfoRecord &record, const char *expected, const char *what)
{
    for (const QString &pair : QString::fromUtf8(expected).split("; ")) {
        const QString key = pair.section(u'=', 0, 0);
        const QString value = pair.section(u'=', 1);
        const QVariant found = record.value(key);
        EXPECT_EQ(found, value.isEmpty() ? QVariant() : valueOf(value))
            << what << ' ' << key.toStdString() << ": " << found.toString().toStdString();
    }
}

} // namespace qv::tests
