#pragma once

#include <QTimer>
#include <QWidget>

// A wheel that turns while something of unknown length goes on; still and unseen otherwise.
namespace qv
{

class BusyWheel : public QWidget
{
    Q_OBJECT

public:
    explicit BusyWheel(QWidget *parent = nullptr);
    bool isSpinning() const { return m_timer.isActive(); }
    void setSpinning(bool spinning);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};

} // namespace qv
