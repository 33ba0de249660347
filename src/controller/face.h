#pragma once

#include "controller/window_state.h"

#include <QList>
#include <QString>
#include <QStringList>

// What the controller shows and asks. A window, a command and a test's recorder implement it; the
// controller knows no widget.
namespace qv
{

// What became of one source's sheet.
struct SheetResult {
    QString sheet;  // its path when it was made or kept; empty otherwise
    QString reason; // for people; empty when made
    int picturesAsked = 0;
    int picturesDrawn = 0;
    int picturesMoved = 0;        // of frames more than two seconds away from their stamps
    QList<double> instants;       // of its pictures, seconds: what their stamps say
    bool isQuick = false;         // its stills are key pictures, and their stamps say of when
    bool hasWrongColours = false; // Dolby Vision without a compatible base layer
    double duration = 0;          // of the source, seconds
    double seconds = 0;           // that it took
};

// How one row's encoding ended.
struct RowResult : SheetResult {
    enum class Status { Made, Kept, Failed, Stopped };
    Status status = Status::Failed;
    QString source;
};

// A path, or a folder for several paths below it, that was not admitted.
struct LeftOut {
    QString path;
    QString reason;
};

class Face
{
public:
    virtual ~Face() = default;

    // Something in the state changed; called often, so a window may gather several.
    virtual void windowChanged(const WindowState &) {}
    virtual void rowsChanged() {}
    virtual void rowChanged(int) {}
    virtual void gateChanged(bool) {}

    // A source that makes no row, and why.
    virtual void sourceSkipped(const QString &, const QString &) {}
    // What an admission did not take, beside those: each with why, in words for people, and the
    // number of paths that are in the table already.
    virtual void leftOut(const QList<LeftOut> &, int) {}
    // Paths that came while the gate was closed. Whoever wants them admits them when it opens.
    virtual void pathsWaiting(const QStringList &) {}
    // The analysis of everything that was admitted is over, stopped or not.
    virtual void analysisEnded() {}
    virtual void rowFinished(const RowResult &) {}
    // The batch is over; the text for people, and the folder with the sheets to reveal.
    virtual void batchEnded(const QString &, const QString &) {}
    // The batch was stopped: no message, nothing to reveal.
    virtual void batchStopped() {}

    // The destination fields of the main window and of the preferences panel.
    virtual QString destination() const = 0;
    virtual void setDestination(const QString &) = 0;
    virtual QString defaultDestination() const = 0;
    virtual void setDefaultDestination(const QString &) = 0;

    // What new rows get, and what a layout means at this moment.
    virtual int layoutIndex() const = 0;
    virtual int pictureChoice() const = 0;
    virtual QString layoutLabel(int out) const = 0;
    virtual int thumbnailCount(int out) const = 0;
    virtual bool captionShown(const QString &caption) const = 0;
    // Whether rows take the key pictures near their instants, which is much faster, instead of the
    // pictures at them. Asked when a source is analysed and when its row begins.
    virtual bool wantsQuickPictures() const = 0;
    // Whether a damaged source is refused even if ffmpeg gives sound pictures of it.
    virtual bool refusesDamaged() const { return false; }
    // Whether sheets keep to themselves in which folder their sources are.
    virtual bool leavesOutPaths() const { return false; }

    // The file chooser, restricted to these extensions; empty when cancelled.
    virtual QStringList chooseSources(const QString &, const QStringList &) { return {}; }
    // The folder chooser of the destination field.
    virtual void chooseDestination() {}
    // The application quits: the help goes.
    virtual void closeHelp() {}
};

} // namespace qv
