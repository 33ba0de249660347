#pragma once

#include "support/log.h"

#include <QByteArray>

// Collects the trace lines of a test.
class LogCapture
{
public:
    LogCapture()
    {
        qv::setLogSink([this](const QByteArray &line) { m_text += line; });
    }
    ~LogCapture()
    {
        qv::setLogSink([](const QByteArray &) {});
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    bool contains(const QString &text) const { return m_text.contains(text.toUtf8()); }

private:
    QByteArray m_text;
};
