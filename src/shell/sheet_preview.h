#pragma once

#include "shell/sample_stills.h"
#include "support/off_thread.h"

#include <QAbstractScrollArea>
#include <QImage>
#include <QTimer>
#include <QVariantMap>

namespace qv
{

struct ExtractionPlan;

// The sheet that settings give, drawn by the composer itself on sample stills: a moment after the
// last change, on another thread, at the size and scale of the screen. A tall sheet is scrolled.
class SheetPreview : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit SheetPreview(QWidget *parent = nullptr);

    // The settings by preference key, defaults where one is missing.
    void setPreferences(const QVariantMap &preferences);
    void setLayoutIndex(int out);
    int layoutIndex() const { return m_layout; }

    // Of the last drawing: its bitmap (null when there is none), how many stills stand on it, and
    // the size in pixels that such a sheet has as a file.
    QImage picture() const { return m_picture; }
    int stills() const { return m_stills; }
    QSize sheetSize() const { return m_sheetSize; }
    // What stands in the place of the sheet; empty when the sheet does.
    QString message() const { return m_message; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    // A new drawing, or a message, is there.
    void updated();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void changeEvent(QEvent *event) override;

private:
    struct Drawing {
        QImage picture;
        int asked = 0;
        int stills = 0;
        QSize sheet;
    };

    void drawSoon();
    void draw();
    void makeSamples();
    void takeDrawing(const Drawing &drawing);
    void tryAnew();
    void showMessage(const QString &key);
    QVariantMap display() const;
    QStringList stillsOf(const ExtractionPlan &plan) const;
    QVariantMap sampleCaptions() const;
    int drawnWidth(const QSize &sheet) const;
    void adaptScrolling();

    SampleStills m_samples;
    QTimer m_soon;
    QVariantMap m_preferences;
    int m_layout = 1;
    QImage m_picture;
    int m_stills = 0;
    QSize m_sheetSize;
    QString m_message;
    bool m_remade = false;
    bool m_outdated = false; // settings have changed since the drawing under way began
    OffThread m_drawing;     // ends before the rest goes
};

} // namespace qv
