#pragma once

#include "controller/context.h"
#include "controller/picture_rounds.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_names.h"
#include "controller/sheet_owner.h"
#include "controller/step_gate.h"
#include "sheet/composer.h"
#include "sheet/stills_folder.h"
#include "support/alerts.h"
#include "support/off_thread.h"

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QSize>
#include <QStringList>

#include <functional>
#include <optional>

// Turns the rows of the batch into sheets, one after the other. A step machine like the analysis:
// its state stands in the preferences store, and each tool's end brings the next step.
namespace qv
{

class EncodingDriver : public QObject
{
    Q_OBJECT

public:
    explicit EncodingDriver(ControllerContext &context);

    // Begins a batch of all rows.
    void begin();
    // Asks for a step, "encBatch" (choose the next row) or "encProcesses" (advance the current
    // one). It runs from the event loop, so that the stack never grows.
    void encSend(const QString &stepNameStr);

    // The child flags in the order in which their steps come.
    static QStringList encArray();

    // Index of the row being encoded, or -1.
    int encBatchInprogressRowIdentification() const;

    // The stop control: the running tool ends and the batch with it.
    void stop();
    bool isStopping() const { return m_gate.isStopping(); }
    // The application quits: what was made of the current row so far goes, nothing is reported.
    void abandon();

    // While paused no step begins. Each returns whether it changed anything: a batch that is being
    // stopped can't be paused any more.
    bool pause() { return m_gate.pause(); }
    bool resume();
    bool isPaused() const { return m_gate.isPaused(); }

    // The folder that the sheets go into, and a source's sheet in it, without extension.
    QString destinationFolder() const;
    QString sheetBase(const QString &sourcePath);
    void giveSheetBase(const QString &sourcePath, const QString &base)
    {
        m_names.give(sourcePath, base);
    }

private:
    static constexpr double neededMegabytes = 1.0; // for a row

    void enc(const QString &stepNameStr);
    void sendHeldStep();
    void noteStop();

    void encBatch();
    void beginRow(int index);
    void dropVanishedRow(int index);
    void openGate();
    void releaseBatch();
    void endBatch();

    void encProcesses();
    void goOn();
    void startRow();
    void noteStillsThenGoOn();
    QString stillsFolder(const QString &base);
    utilsAlert::Answer ask(const std::function<utilsAlert::Answer()> &question);
    bool mayWriteSheet();
    bool mayReplace(const QString &sheet);
    bool beginSheet(const QString &base);
    void noteSheet(const QString &base);
    bool mayReplaceOthers(const PlaceContent &content);
    QString otherBase();
    bool hasFreeSpace();
    void runPlan();
    void launchOneRun();
    QVariantMap planInput() const;
    QSize oneRunSize() const;
    QString instantsText() const;
    bool hasQuickFailed() const;
    void takeExactPictures();
    void noteInstants(const QMap<int, double> &shown);
    bool continuePictures();
    void takePictures();
    IntraOnly intraOnlyOfRow(const QVariantMap &record) const;
    void showPictureProgress();
    bool notePictures();
    void noteMovieFailure();
    void noteShown(int index, double shown, double planned);
    void startPictureTool(const QStringList &arguments, int maximum, ParseMode mode);
    void composeRow();
    void takeSheet(const tl::expected<ComposedSheet, QString> &composed);
    QVariantMap displayOfRow() const;
    Provenance provenanceOfRow() const;
    void placeSheet(const QString &composed);
    void notePlaced(const DeliveryResult &placed, const QString &composed);
    void finishRow();
    void markRow();
    RowMark markWithoutSheet() const;
    void markStoppedRow();
    void finishStopped();
    void writeSummary();
    void report(RowResult::Status status);
    void failRow(const QString &reason);
    void purgeStills();
    QString growingSheetFolder() const;
    std::optional<QString> outerCause() const;
    std::optional<QString> fullDisk() const;

    QVariant child(const QString &key) const;
    bool isDue(const QString &key) const;
    bool takeChild(const QString &key);
    void setChild(const QString &key, const QVariant &value);
    void setMark(RowMark mark);

    // What is known of the current row beside the store.
    struct Row {
        QString source;
        QString sheet;
        QString stills; // folder of the stills, purged at the end
        QString reason;
        int out = 1;
        int dpi = 0;
        bool kept = false;
        bool replace = false;     // the sheet that was there may go
        bool replacesAny = false; // even if it is not this source's
        bool reported = false;
        bool written = false;
        int asked = 0;
        int drawn = 0;
        bool byMovieFramework = false;
        bool takesPictures = false;
        bool isQuick = false; // its stills are key pictures, taken in one run
        bool wishesQuick = false;
        QList<double> planned;  // instants of the stills, seconds
        QList<double> instants; // what they show, or the planned ones where that is unknown
        QSet<int> moved;        // indices of stills whose frames are far from the planned instants
        double interval = 0;    // seconds between two stills
        double fps = 0;         // 0: unknown
        double duration = 0;
        ListedPictures listed;
        bool hasWrongColours = false;
        SourceState state; // of the source when its analysis began
        QDateTime started;
        QElapsedTimer clock;
    };

    ControllerContext &m_context;
    SheetNames m_names;
    Row m_row;
    StepGate m_gate;
    bool m_isSaving = false;              // where the stills will be
    bool m_diskFullTold = false;          // and no row had space since
    std::optional<bool> m_replacesOthers; // the user's answer for all rows of the batch
    QString m_pendingStep;
    QString m_heldStep;
    int m_stillsCounter = 0;
    const QString m_stillsMark = newStillsMark();
    PictureRounds m_pictures;
    OffThread m_composing; // and placing; ends before the rest goes
};

} // namespace qv
