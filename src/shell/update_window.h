#pragma once

#include "shell/segmented_control.h"
#include "shell/time_left.h"
#include "updater/update_face.h"

#include <QDialog>
#include <QTextBrowser>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace qv
{

// A page from elsewhere. It loads nothing that the page names and runs nothing; a click on a link
// is only told.
class NotesBrowser : public QTextBrowser
{
    Q_OBJECT

public:
    explicit NotesBrowser(QWidget *parent = nullptr);
    QVariant loadResource(int type, const QUrl &name) override;
    void showPage(const WebPage &page);

Q_SIGNALS:
    // To the web: http or https.
    void linkClicked(const QUrl &address);
};

// The sheet that offers a newer version, with its release notes, and shows how its download goes.
class UpdateWindow : public QDialog
{
    Q_OBJECT

public:
    explicit UpdateWindow(QWidget *parent = nullptr);

    void showOffer(const UpdateOffer &offer);
    void setStatus(const QString &status);
    void setPhase(UpdatePhase phase);
    void setProgress(qint64 received, qint64 total);
    void showNotes(const tl::expected<WebPage, QString> &page);

    // Escape and the window's close box: as Cancel while a download runs, else as Close. What must
    // come to its end stays.
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;

Q_SIGNALS:
    void segmentClicked(int segment);
    void cancelClicked();
    void linkClicked(const QUrl &address);

private:
    QWidget *makeHead();
    QWidget *makeProgress();
    QWidget *makeFoot();
    void focusMainButton();
    void setButtonsEnabled(bool areEnabled);

    QLabel *m_heading;
    QLabel *m_running;
    QLabel *m_status;
    NotesBrowser *m_notes;
    QLineEdit *m_address;
    QWidget *m_progress;
    QProgressBar *m_bar;
    QLabel *m_amount;
    QPushButton *m_cancel;
    SegmentedControl *m_buttons;
    UpdatePhase m_phase = UpdatePhase::Offered;
    TimeLeft m_timeLeft;
    qint64 m_firstBytes = -1; // that were there when this try began
    bool m_mayDownload = false;
};

} // namespace qv
