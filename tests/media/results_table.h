#pragma once

#include "media/source.h"
#include "media/walk.h"

// The walk as a Markdown table, for people.
class ResultsTable
{
public:
    static ResultsTable &instance();

    // `farthest` is the largest distance of a cell from its stamp, in seconds.
    void add(const Source &source, const Seen &seen, std::optional<double> farthest, bool isGood);
    bool write(const QString &path) const;

private:
    QStringList m_lines;
    int m_good = 0;
};
