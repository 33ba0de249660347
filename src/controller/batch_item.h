#pragma once

#include "analysis/listed_pictures.h"
#include "analysis/media_info_record.h"
#include "sheet/provenance.h"

#include <QImage>
#include <QString>
#include <QVector>

// One row of the batch table.
namespace qv
{

// The status mark that a row shows, named after its picture.
enum class RowMark {
    Puce,
    PuceCurrent,
    PuceSuccess,
    PuceKept,
    PuceStopped,
    PuceFailure,
    PuceDamaged
};
inline constexpr int rowMarkCount = 7;
QString markPictureName(RowMark mark);

// Styled text: runs of one colour each, font size 11.
struct StyledRun {
    QString text;
    QString color; // "black" or "silver"
};
using StyledText = QVector<StyledRun>;
QString plainText(const StyledText &text);

struct BatchItem {
    int order = 0; // 1-based position
    RowMark resultat = RowMark::Puce;
    int out = 1;          // layout index
    int dpi = 0;          // picture choice
    MediaInfoRecord dico; // the record with srcPathStr, imgPathStr, intraFailure, dstPathStr
    StyledText src;       // caption
    QString reason;       // why the row made no sheet; null otherwise
    bool isQuick = false; // its sheet shows key pictures
    ListedPictures listed;
    SourceState state; // of the file before anybody looked into it

    QString sourcePath() const;
    // What is wrong with a source that is used all the same; null when nothing is known.
    QString damage() const;
    // The mark that is shown: a damaged source that waits has one of its own.
    RowMark mark() const;
    // The preview, read from the file when asked for, so that ten thousand rows hold no pictures;
    // null when the file is missing or no picture.
    QImage img() const;
};

// A new row's caption: name, size with field order and frame rate, duration.
StyledText rowCaption(const MediaInfoRecord &record, const QString &sourcePath);

} // namespace qv
