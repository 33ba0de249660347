#pragma once

#include "cli/streams.h"

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

// One line on the terminal that tells how far the work is, rewritten in place and gone at the end.
namespace qv
{

class ProgressLine
{
public:
    // Shows nothing unless standard error is a terminal and `wanted`.
    ProgressLine(const Streams &streams, bool wanted, int total);
    ~ProgressLine() { clear(); }

    // Source `number` (from 1) is worked on.
    void source(int number, const QString &name);
    // So many sources are done, and those of these names are worked on.
    void sources(int done, const QStringList &names);
    // Its step, such as "Picture 3/15", and how much of it is done (0 to 1).
    void step(const QString &caption, double part);
    // One of the sources that are done needed no work, though it was looked at for so long: what is
    // left is estimated from the others.
    void passed(double seconds);
    // Takes the line away, so that a message can be printed.
    void clear();

private:
    void show();
    QString timeLeft() const;

    const Streams &m_streams;
    bool m_active;
    int m_total;
    int m_shownNumber = 0;
    double m_done = 0; // sources
    double m_part = 0;
    int m_passed = 0; // sources
    double m_passedSeconds = 0;
    bool m_shown = false;
    QString m_name;
    QString m_caption;
    QElapsedTimer m_clock;
};

} // namespace qv
