#pragma once

#include "controller/window_state.h"

#include <QWidget>

class QLabel;
class QToolButton;

// The place where videos are dropped: its picture and captions tell whether it takes any.
namespace qv
{

class BusyWheel;

class dragNDropView : public QWidget
{
    Q_OBJECT

public:
    explicit dragNDropView(QWidget *parent = nullptr);

    // Picture, captions, wheel and stop control as the controller wants them shown.
    void show(const WindowState &window);
    // Whether drops are taken; while not, the pointer says so.
    void setAcceptsDrops(bool accepts) { m_accepts = accepts; }
    bool acceptsDrops() const { return m_accepts; }
    // The window hands its own on: a drop anywhere on it is one on this view.
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

    QString imageName() const { return m_imageName; }
    QSize sizeHint() const override;

Q_SIGNALS:
    void performDrag(const QStringList &paths);
    // What was dropped holds no file of this computer.
    void nothingDropped();
    void stopRequested();
    // Clicked, or Space or Return pressed on it.
    void openRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setImage(const QString &name);
    void fitImage();
    void setHovered(bool hovered);
    void fitFonts();

    QString m_imageName;
    QLabel *m_image;
    QLabel *m_dropCaption;
    QLabel *m_dropHint;
    QWidget *m_activity;
    QLabel *m_actionCaption;
    QLabel *m_analysisCaption;
    BusyWheel *m_wheel;
    QToolButton *m_stop;
    bool m_accepts = true;
    bool m_hovered = false;
};

} // namespace qv
