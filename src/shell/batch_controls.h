#pragma once

#include "controller/window_state.h"
#include "sheet/layout.h"

#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QGridLayout;

// Below the drop view: where the sheets go, what they look like, Go, pause and stop, and how far
// the batch is.
namespace qv
{

class BusyWheel;
class SegmentedControl;

class BatchControls : public QWidget
{
    Q_OBJECT

public:
    explicit BatchControls(QWidget *parent = nullptr);

    // Go, the stop control, bars and captions as the controller wants them shown.
    void show(const WindowState &window);
    // Beside the bars: "Video 2/12", "about 3 min left".
    void showBatch(const QString &caption, const QString &timeLeft);

    QString destination() const { return m_destination; }
    // Shows the folder, and what is wrong with it.
    void setDestination(const QString &path);
    int layoutIndex() const;
    void setLayoutIndex(int out);
    int pictureChoice() const;
    void setPictureChoice(int dpi);
    // Stills of a sheet of that layout, as its selector shows them.
    int thumbnailCount(int out) const;
    void setThumbnailCount(int out, int count);

    // Whether the stills may be the key pictures nearest to their instants.
    void setQuickPictures(bool quick);

    QPushButton *goButton() const { return m_go; }

Q_SIGNALS:
    void goClicked();
    void taskStopClicked(int segment);
    void folderRequested();
    void layoutChanged(int out);
    // By the user.
    void quickPicturesChosen(bool quick);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void addDestination(QGridLayout &grid);
    void addSheetChoices(QGridLayout &grid);
    void addQuickSwitch(QGridLayout &grid);
    QWidget *makeButtons();
    QWidget *makeProgress();
    void offerCounts();
    void elideDestination();
    void checkDestination();
    void colorGo();
    void orderTabs();
    void showStopControl(const WindowState &window);
    void showBars(const WindowState &window);

    QString m_destination;
    QString m_pauseImage;
    std::array<int, layoutCount> m_counts{};

    QLineEdit *m_folder;
    QPushButton *m_choose;
    QWidget *m_warning;
    QLabel *m_warningText;
    SegmentedControl *m_layouts;
    SegmentedControl *m_choices;
    QComboBox *m_count;
    QCheckBox *m_quick;
    QPushButton *m_go;
    SegmentedControl *m_stop;
    QWidget *m_progress;
    QLabel *m_batchCaption = nullptr;
    QLabel *m_timeLeft = nullptr;
    QLabel *m_stepCaption = nullptr;
    QProgressBar *m_stepBar = nullptr;
    BusyWheel *m_taskWheel = nullptr;
    QLabel *m_actionCaption = nullptr;
    QLabel *m_percent = nullptr;
    QProgressBar *m_taskBar = nullptr;
};

} // namespace qv
