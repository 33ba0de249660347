#pragma once

#include <QString>
#include <QStringList>

// What a main window shows of the controller's work, in plain values: a face draws them, a command
// ignores most of them, a test reads them.
namespace qv
{

// The progress controls of one launcher slot.
struct SlotControls {
    bool determinate = false;
    double minimum = 0;
    double maximum = 0;
    double value = 0;
    bool wheelSpinning = false;
    QString percent;       // "42 %"
    QString actionCaption; // what is being worked on
    bool stopShown = false;
    bool stopEnabled = true;
};

// The two-segment control of a running batch: pause or resume, and stop.
struct StopControl {
    static constexpr int pauseSegment = 0;
    static constexpr int stopSegment = 1;

    QStringList images = {QStringLiteral("btPause"), QStringLiteral("btStop")};
    int selected = -1;
    bool enabled = true;
    bool waitsForAnalysis = false; // paused until the videos of a drop have been looked at

    bool hasTwoSegments() const { return images.size() >= 2; }
    bool offersPause() const
    {
        return images.value(pauseSegment).contains(QLatin1String("btPause"));
    }
};

struct WindowState {
    QString dropImage = QStringLiteral("dndApp");
    bool dropCaptionShown = true;
    bool actionCaptionShown = false;

    bool analysisWheel = false;
    QString analysisCaption; // "3/12"
    bool analysisStopShown = false;
    bool analysisStopEnabled = true;

    bool goEnabled = false;
    bool goPressed = false; // a batch is being encoded
    StopControl stop;
    bool drawerOpen = false;

    QString stepCaption; // "Picture 3/15"
    double stepValue = 0;
    double stepMaximum = 0;

    SlotControls encoding;
    SlotControls analysis;

    // The drop view while sources are admitted and analysed, and at all other times.
    void showBusy() { setBusy(true); }
    void showIdle() { setBusy(false); }

private:
    void setBusy(bool busy)
    {
        dropImage = busy ? QStringLiteral("dndAppOff") : QStringLiteral("dndApp");
        dropCaptionShown = !busy;
        actionCaptionShown = busy;
        analysisWheel = busy;
    }
};

} // namespace qv
