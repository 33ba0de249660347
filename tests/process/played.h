#pragma once

#include "common/test_bundle.h"
#include "process/child_process.h"

#include <QStringList>

// The command that makes the fake tool play these steps.
inline QStringList played(const QStringList &steps)
{
    return QStringList{fakeTool(), "play"} + steps;
}

inline QStringList piped(const QStringList &first, const QStringList &second)
{
    return first + QStringList{"|"} + second;
}

// A limit for hung tools that a test can wait for.
class ShortIdleLimit
{
public:
    ShortIdleLimit() : m_before(qv::toolIdleLimit()) { qv::setToolIdleLimit(0.3); }
    ~ShortIdleLimit() { qv::setToolIdleLimit(m_before); }
    ShortIdleLimit(const ShortIdleLimit &) = delete;
    ShortIdleLimit &operator=(const ShortIdleLimit &) = delete;

private:
    double m_before;
};
