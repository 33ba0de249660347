#pragma once

#include "media/clock.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// What the command made of one source.
struct Seen {
    bool isTold = false; // the command had a line for it
    QString status;      // "made", "skipped", "failed"
    QString reason;
    QString sheet; // its path
    int drawn = 0;
    QVariantMap record; // described by ffmpeg, on the quick road by the quick tool
    QString damage;
    bool hasWrongColours = false;
    double duration = 0;          // as told beside the record, seconds
    QString road;                 // "exact", "quick"
    std::vector<double> instants; // of its pictures, seconds

    bool isRow() const { return status == QLatin1String("made"); }
};

// One of the six pictures of a sheet.
struct SeenCell {
    double stamp = 0;            // seconds
    std::optional<double> clock; // what the picture shows
    SeenColours colours;
};

// The command's runs over the corpus, `sheet` and `info` theme by theme, two at a time; and the
// same with quick pictures.
class Walk
{
public:
    explicit Walk(const QStringList &themes);

    const QStringList &problems() const { return m_problems; }
    Seen of(const Source &source) const;
    Seen quickOf(const Source &source) const;

private:
    struct Told {
        QHash<QByteArray, QJsonObject> sheets; // by the name in the corpus
        QHash<QByteArray, QJsonObject> records;
    };
    static Seen seenIn(const Told &told, const Source &source);

    QStringList m_problems;
    Told m_exact;
    Told m_quick;
};

// In the first call the command goes over the themes of the tests that are to run.
const Walk &theWalk();

std::vector<SeenCell> cellsOf(const Seen &seen, double tick);
