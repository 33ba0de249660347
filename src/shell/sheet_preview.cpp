#include "shell/sheet_preview.h"

#include "process/tool_environment.h"
#include "settings/preferences_store.h"
#include "sheet/caption_texts.h"
#include "sheet/composer.h"
#include "sheet/extraction_plan.h"
#include "shell/choice_labels.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/variant_values.h"

#include <QDate>
#include <QEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qv
{
namespace
{

constexpr int gatherMilliseconds = 50;
constexpr int margin = 10;
// More stills than any menu offers would keep the processors busy.
constexpr int mostStills = 120;
// Of more columns the cells are small.
constexpr int largestColumns = 3;
constexpr int heroStill = 10;
// A sheet that would fit whole with at least this share of the width isn't scrolled.
constexpr double smallestShare = 0.66;

QVariantMap sampleRecord()
{
    const QString folder = expandTilde(QStringLiteral("~/Movies"));
    const QString name = localized(QStringLiteral("prefSampleName"));
    return {
        {QStringLiteral("srcPathStr"), QStringLiteral("%1/%2.mov").arg(folder, name)},
        {QStringLiteral("wrapper"), QStringLiteral("mov")},
        {QStringLiteral("w_duration"), 5400},
        {QStringLiteral("v0_width"), 1920},
        {QStringLiteral("v0_height"), 1080},
        {QStringLiteral("v0_dar"), QStringLiteral("16:9")},
        {QStringLiteral("v0_fps"), 25.0},
        {QStringLiteral("v0_fields"), localized(QStringLiteral("PFF"), QStringLiteral("fields"))},
        {QStringLiteral("v0_codec"), QStringLiteral("h264")},
        {QStringLiteral("a0_codec"), QStringLiteral("aac")},
        {QStringLiteral("decSkip"), 1}};
}

QVariantMap timecodesOf(const ExtractionPlan &plan)
{
    QVariantMap timecodes;
    for (const PlannedPicture &picture : plan.pictures) {
        timecodes.insert(QString::number(picture.index), picture.timecode);
    }
    return timecodes;
}

} // namespace

SheetPreview::SheetPreview(QWidget *parent) : QAbstractScrollArea(parent)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Mid);
    m_soon.setSingleShot(true);
    m_soon.setInterval(gatherMilliseconds);
    connect(&m_soon, &QTimer::timeout, this, &SheetPreview::draw);
    connect(&m_samples, &SampleStills::ready, this, &SheetPreview::draw);
    connect(&m_samples, &SampleStills::failed, this,
            [this] { showMessage(QStringLiteral("prefPreviewFailed")); });
}

void SheetPreview::setPreferences(const QVariantMap &preferences)
{
    m_preferences = PreferencesStore::prefsDefaults();
    m_preferences.insert(preferences);
    drawSoon();
}

void SheetPreview::setLayoutIndex(int out)
{
    m_layout = out;
    verticalScrollBar()->setValue(0);
    drawSoon();
}

QSize SheetPreview::sizeHint() const
{
    const int unit = fontMetrics().height();
    return {unit * 28, unit * 30};
}

QSize SheetPreview::minimumSizeHint() const
{
    const int unit = fontMetrics().height();
    return {unit * 14, unit * 12};
}

// A window that isn't seen draws nothing.
void SheetPreview::drawSoon()
{
    if (isVisible()) {
        m_soon.start();
    }
}

void SheetPreview::draw()
{
    if (!isVisible()) {
        return;
    }
    if (!m_samples.areThere()) {
        makeSamples();
        return;
    }
    if (m_drawing.isRunning()) {
        m_outdated = true;
        return;
    }
    m_outdated = false;
    const QVariantMap shown = display();
    const int dpi = intIn(m_preferences, QStringLiteral("prefDpi")).value_or(0);
    const auto drawing = std::make_shared<Drawing>();
    drawing->asked = static_cast<int>(shown.value(QStringLiteral("th")).toStringList().size());
    drawing->sheet = sheetPixels(dpi, shown);
    prepareSheet(shown); // fonts are loaded by the window's own thread
    m_drawing.run(
        [drawing, dpi, shown, width = drawnWidth(drawing->sheet), ratio = devicePixelRatioF()] {
            drawing->picture = drawSheetAtWidth(dpi, shown, width, &drawing->stills);
            drawing->picture.setDevicePixelRatio(ratio);
        },
        [this, drawing] { takeDrawing(*drawing); });
}

void SheetPreview::takeDrawing(const Drawing &drawing)
{
    if (m_outdated) {
        draw();
        return;
    }
    if (drawing.picture.isNull() || drawing.stills < drawing.asked) {
        tryAnew();
        return;
    }
    m_remade = false;
    m_message.clear();
    m_stills = drawing.stills;
    m_sheetSize = drawing.sheet;
    m_picture = drawing.picture;
    adaptScrolling();
    viewport()->update();
    Q_EMIT updated();
}

// The temporary folder was emptied under us: once more, and no more than that.
void SheetPreview::tryAnew()
{
    if (!std::exchange(m_remade, true)) {
        makeSamples();
        return;
    }
    m_remade = false;
    showMessage(QStringLiteral("prefPreviewFailed"));
}

void SheetPreview::makeSamples()
{
    m_samples.make(appendPath(temporaryFolder(), QStringLiteral("preview")));
}

void SheetPreview::showMessage(const QString &key)
{
    m_picture = QImage();
    m_stills = 0;
    m_sheetSize = QSize();
    m_message = localized(key);
    adaptScrolling();
    viewport()->update();
    Q_EMIT updated();
}

QVariantMap SheetPreview::sampleCaptions() const
{
    QVariantMap captions = captionTexts(sampleRecord());
    captions.insert(QStringLiteral("date"), QDate::currentDate().toString(Qt::ISODate));
    captions.insert(QStringLiteral("poids"),
                    QStringLiteral("734 M%1").arg(localized(QStringLiteral("D_byte"))));
    return captions;
}

// The large picture of the mixed layout is the heaviest one.
QStringList SheetPreview::stillsOf(const ExtractionPlan &plan) const
{
    const bool isMixed = sheetLayout(m_layout) == SheetLayout::Mixed;
    const int hero = isMixed ? std::min(heroStill, plan.count - 1) : -1;
    QStringList stills;
    for (int i = 0; i < plan.count; ++i) {
        const bool isSmall = plan.columns > largestColumns && i != hero;
        stills.append(isSmall ? m_samples.smallPath(i) : m_samples.path(i));
    }
    return stills;
}

QVariantMap SheetPreview::display() const
{
    QVariantMap record = sampleRecord();
    const int wanted = intIn(m_preferences, countPreference(m_layout)).value_or(0);
    record.insert(QStringLiteral("thNumberInt"), std::clamp(wanted, 0, mostStills));
    const ExtractionPlan plan = planExtraction(m_layout, record);
    QVariantMap shown = sampleCaptions();
    shown.insert(QStringLiteral("timecode"), timecodesOf(plan));
    for (const CaptionSwitch &caption : captionSwitches()) {
        if (!flagIn(m_preferences, caption.preference)) {
            shown.remove(caption.caption);
        }
    }
    shown.insert(QStringLiteral("th"), stillsOf(plan));
    shown.insert(QStringLiteral("wTh"), plan.size.width);
    shown.insert(QStringLiteral("hTh"), plan.size.height);
    shown.insert(QStringLiteral("bigMedMinMix"), m_layout);
    shown.insert(QStringLiteral("borderColor"),
                 m_preferences.value(QStringLiteral("prefBorderColor")));
    shown.insert(QStringLiteral("borderSize"),
                 m_preferences.value(QStringLiteral("prefBorderSize")));
    shown.insert(QStringLiteral("bkgColor"), m_preferences.value(QStringLiteral("pageBkgColor")));
    return shown;
}

// In device pixels. The same whether the scroll bar is there or not, so that it can't flicker.
int SheetPreview::drawnWidth(const QSize &sheet) const
{
    const QSize room = maximumViewportSize() - QSize(2 * margin, 2 * margin);
    const double widest = std::max(1, room.width() - verticalScrollBar()->sizeHint().width());
    const double whole = sheet.isEmpty()
                             ? widest
                             : room.height() * static_cast<double>(sheet.width()) / sheet.height();
    const double width = whole >= widest * smallestShare ? std::min(whole, widest) : widest;
    return std::max(1, static_cast<int>(width * devicePixelRatioF()));
}

void SheetPreview::adaptScrolling()
{
    const int high = static_cast<int>(std::ceil(m_picture.deviceIndependentSize().height()));
    const int page = viewport()->height();
    QScrollBar *bar = verticalScrollBar();
    bar->setRange(0, m_picture.isNull() ? 0 : std::max(0, high + 2 * margin - page));
    bar->setPageStep(page);
    bar->setSingleStep(fontMetrics().height() * 2);
}

void SheetPreview::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    if (m_picture.isNull()) {
        painter.setPen(palette().color(QPalette::WindowText));
        const QRect room = viewport()->rect().adjusted(margin, margin, -margin, -margin);
        painter.drawText(room, Qt::AlignCenter | Qt::TextWordWrap, m_message);
        return;
    }
    const QSizeF size = m_picture.deviceIndependentSize();
    const double free = (viewport()->height() - size.height()) / 2;
    const double ratio = devicePixelRatioF();
    if (!qFuzzyCompare(m_picture.devicePixelRatio(), ratio)) {
        drawSoon();
    }
    // On whole device pixels: anywhere else the picture would be blurred.
    const double x = std::floor((viewport()->width() - size.width()) / 2 * ratio) / ratio;
    const double y = verticalScrollBar()->maximum() > 0
                         ? margin - verticalScrollBar()->value()
                         : std::floor(std::max(free, 0.0) * ratio) / ratio;
    painter.drawImage(QPointF(x, y), m_picture);
    QColor frame = palette().color(QPalette::WindowText);
    frame.setAlpha(90);
    painter.setPen(QPen(frame, 1));
    painter.drawRect(QRectF(QPointF(x, y), size).adjusted(-0.5, -0.5, 0.5, 0.5));
}

void SheetPreview::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    adaptScrolling();
    drawSoon();
}

void SheetPreview::showEvent(QShowEvent *event)
{
    QAbstractScrollArea::showEvent(event);
    drawSoon();
}

void SheetPreview::scrollContentsBy(int, int)
{
    viewport()->update();
}

void SheetPreview::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        drawSoon();
    }
}

} // namespace qv
