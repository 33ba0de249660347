#pragma once

#include "media/source.h"

#include <QImage>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <vector>

// What the command made of one source.
struct Seen {
    bool isTold = false; // the command had a line for it
    QString status;      // "made", "skipped", "failed"
    QString reason;
    QString sheet; // its path
    int drawn = 0;
    QVariantMap record;

    bool isRow() const { return status == QLatin1String("made"); }
};

// One of the six pictures of a sheet.
struct SeenCell {
    double stamp = 0;            // seconds
    std::optional<double> clock; // what the picture shows
};

// The command's runs over the corpus, `sheet` and `info` theme by theme, two at a time.
class Walk
{
public:
    explicit Walk(const QStringList &themes);

    const QStringList &problems() const { return m_problems; }
    Seen of(const Source &source) const;

private:
    QStringList m_problems;
    QHash<QByteArray, QJsonObject> m_sheets; // by the name in the corpus
    QHash<QByteArray, QJsonObject> m_records;
};

std::vector<SeenCell> cellsOf(const Seen &seen, double tick);
