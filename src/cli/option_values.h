#pragma once

#include "cli/options.h"

#include <QSet>
#include <QString>

#include <tl/expected.hpp>

// The values of options, read from their texts. An error says what is wrong, for people.
namespace qv
{

constexpr int jobsLimit = 64;
// How many tools each of so many jobs may run at once.
int toolsPerJob(int jobs);

template <typename T> using Parsed = tl::expected<T, QString>;

Parsed<SheetLayout> parseLayout(const QString &text);
// Number of pictures; it must fill a row of the layout.
Parsed<int> parseCount(const QString &text, SheetLayout layout);
// 0 for JPEG, 1 for PNG.
Parsed<int> parseFormat(const QString &text);
// Gives a preference's colour text.
Parsed<QString> parseColor(const QString &text);
Parsed<QSet<QString>> parseCaptions(const QString &list);
Parsed<double> parseNumber(const QString &text, const char *what, double from, double to);
Parsed<int> parseJobs(const QString &text);
Parsed<Shard> parseShard(const QString &text);

} // namespace qv
