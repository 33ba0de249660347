#pragma once

#include <QImage>
#include <QObject>
#include <QString>
#include <QTimer>

// Stills of a film that nobody shot: a day in a landscape, for looking at a sheet's settings.
namespace qv
{

inline constexpr int sampleStillCount = 16;
inline constexpr QSize sampleStillSize(960, 540);
// For small cells: decoding is nearly all of the time that a drawing takes.
inline constexpr QSize smallStillSize(320, 180);

// One of them; the day goes on with the index.
QImage sampleStill(int index);

// Writes them as picture files, one each time that the event loop is idle, so that the window never
// waits for them.
class SampleStills : public QObject
{
    Q_OBJECT

public:
    explicit SampleStills(QObject *parent = nullptr);

    // Into this folder, which is made; ends with ready() or failed(). Nothing new while under way.
    void make(const QString &folder);
    bool isUnderWay() const { return m_idle.isActive(); }
    bool areThere() const { return m_made == sampleStillCount; }
    // The file of a still; indexes go round.
    QString path(int index) const;
    QString smallPath(int index) const;

Q_SIGNALS:
    void ready();
    void failed();

private:
    void makeNext();

    QString m_folder;
    int m_made = 0;
    QTimer m_idle;
};

} // namespace qv
