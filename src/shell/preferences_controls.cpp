#include "shell/preferences_controls.h"

#include "settings/preferences_store.h"
#include "sheet/layout.h"
#include "shell/choice_labels.h"
#include "support/numbers.h"

#include <QEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <array>

namespace qv
{
namespace
{

constexpr int largestCount = 9999;
constexpr int columnGap = 6;
constexpr int lowestColumn = 200;

QString waiting(const char *key)
{
    return QStringLiteral("@@") + QLatin1String(key);
}

// Alt and the label's letter lead to the control.
QLabel *labelFor(QWidget *control, const char *key)
{
    auto *label = new QLabel(waiting(key));
    label->setBuddy(control);
    return label;
}

void addRow(QFormLayout *form, const char *key, QWidget *control)
{
    form->addRow(labelFor(control, key), control);
}

QGroupBox *groupIn(QBoxLayout *column, const char *key)
{
    auto *group = new QGroupBox(waiting(key));
    column->addWidget(group);
    return group;
}

QFormLayout *formIn(QGroupBox *group)
{
    auto *form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    return form;
}

QWidget *inOneRow(const QList<QWidget *> &widgets)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets) {
        layout->addWidget(widget);
    }
    return row;
}

SegmentedControl *segmentedFor(PreferencesControls &controls, const char *key)
{
    auto *control = new SegmentedControl(SegmentedControl::Mode::SelectOne);
    control->setObjectName(QLatin1String(key));
    controls.segments.insert(QLatin1String(key), control);
    return control;
}

ColorWell *wellFor(PreferencesControls &controls, const char *key, const char *name)
{
    auto *well = new ColorWell;
    well->setObjectName(QLatin1String(key));
    well->setAccessibleName(waiting(name));
    controls.wells.insert(QLatin1String(key), well);
    return well;
}

QCheckBox *switchFor(PreferencesControls &controls, const char *key, const char *text)
{
    auto *box = new QCheckBox(waiting(text));
    box->setObjectName(QLatin1String(key));
    controls.switches.insert(QLatin1String(key), box);
    return box;
}

// ---- the groups

void buildDestination(PreferencesControls &controls, QBoxLayout *column)
{
    QGroupBox *group = groupIn(column, "prefGroupDestination");
    auto *layout = new QVBoxLayout(group);
    controls.destination = new DestinationField;
    controls.destination->edit()->setObjectName(QStringLiteral("prefDefautDstPathStr"));
    controls.destination->edit()->setAccessibleName(waiting("prefDestinationName"));
    layout->addWidget(controls.destination);
}

SegmentedControl *buildSwatches(PreferencesControls &controls, ColorWell *well)
{
    SegmentedControl *swatches = segmentedFor(controls, "prefColor");
    swatches->addSegment({}, swatchIcon([well] { return well->color(); }), waiting("prefSwatch0"));
    const QList<QColor> colors = swatchColors();
    for (int i = 0; i < colors.size(); ++i) {
        swatches->addSegment({}, swatchIcon([color = colors.at(i)] { return color; }),
                             QStringLiteral("@@prefSwatch%1").arg(i + 1));
    }
    return swatches;
}

void buildBorderSlider(PreferencesControls &controls)
{
    controls.borderSlider = new QSlider(Qt::Horizontal);
    controls.borderSlider->setObjectName(QStringLiteral("prefBorderSize"));
    controls.borderSlider->setAccessibleName(waiting("prefBorderSizeName"));
    controls.borderSlider->setRange(0, static_cast<int>(largestBorderSize / borderStep));
    controls.borderSlider->setPageStep(static_cast<int>(1 / borderStep));
    controls.borderText = new QLabel;
    controls.borderText->setTextFormat(Qt::PlainText);
    controls.borderText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    controls.borderText->setMinimumWidth(
        controls.borderText->fontMetrics().horizontalAdvance(QStringLiteral("10.5 pt")));
}

void buildSheet(PreferencesControls &controls, QBoxLayout *column)
{
    QFormLayout *form = formIn(groupIn(column, "prefGroupSheet"));
    ColorWell *background = wellFor(controls, "pageBkgColor", "prefBackgroundName");
    ColorWell *border = wellFor(controls, "prefBorderColor", "prefBorderName");
    controls.colorPreview = new QLabel;
    controls.colorName = new QLabel;
    controls.colorName->setTextFormat(Qt::PlainText);
    controls.colorName->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    buildBorderSlider(controls);
    addRow(form, "prefBackground", buildSwatches(controls, background));
    form->addRow(labelFor(background, "prefBackgroundWell"),
                 inOneRow({background, controls.colorPreview, controls.colorName}));
    form->addRow(labelFor(border, "prefBorder"),
                 inOneRow({border, controls.borderSlider, controls.borderText}));
}

QComboBox *countMenu(PreferencesControls &controls, int out)
{
    auto *menu = new QComboBox;
    const QString key = countPreference(out);
    menu->setObjectName(key);
    for (const int count : offeredCounts(out)) {
        menu->addItem(QString::number(count));
    }
    controls.counts.insert(key, menu);
    return menu;
}

void buildPictures(PreferencesControls &controls, QBoxLayout *column)
{
    static constexpr std::array<const char *, layoutCount> names{"prefCountBig", "prefCountMed",
                                                                 "prefCountMin", "prefCountMix"};
    auto *grid = new QGridLayout(groupIn(column, "prefGroupPictures"));
    for (int out = 0; out < layoutCount; ++out) {
        QComboBox *menu = countMenu(controls, out);
        const int place = out % 2 * 2;
        grid->addWidget(labelFor(menu, names[static_cast<std::size_t>(out)]), out / 2, place);
        grid->addWidget(menu, out / 2, place + 1);
        grid->setColumnStretch(place + 1, 1);
    }
    SegmentedControl *choice = segmentedFor(controls, "prefDpi");
    choice->addSegment(waiting("dpiJpg"));
    choice->addSegment(waiting("dpiPng"));
    grid->addWidget(labelFor(choice, "prefPictureChoice"), layoutCount / 2, 0);
    grid->addWidget(choice, layoutCount / 2, 1, 1, 3);
}

void buildCaptionBoxes(PreferencesControls &controls, QGridLayout *grid, int firstRow)
{
    struct Box {
        const char *key;
        const char *text;
    };
    static constexpr std::array<Box, 8> boxes{{{"pageName", "prefPageName"},
                                               {"pageLocation", "prefPageLocation"},
                                               {"pageDate", "prefPageDate"},
                                               {"pageDuration", "prefPageDuration"},
                                               {"pageVIdentity", "prefPageVIdentity"},
                                               {"pagePoids", "prefPagePoids"},
                                               {"pageEssence", "prefPageEssence"},
                                               {"prefTimecode", "prefTimecodeBox"}}};
    const int rows = static_cast<int>(boxes.size()) / 2;
    for (int i = 0; i < static_cast<int>(boxes.size()); ++i) {
        const Box &box = boxes[static_cast<std::size_t>(i)];
        grid->addWidget(switchFor(controls, box.key, box.text), firstRow + i % rows, i / rows);
    }
}

void buildCaptions(PreferencesControls &controls, QBoxLayout *column)
{
    auto *grid = new QGridLayout(groupIn(column, "prefGroupCaptions"));
    SegmentedControl *presets = segmentedFor(controls, "prefCheckMatrix");
    for (const char *text : {"prefPreset0", "prefPreset1", "prefPreset2"}) {
        presets->addSegment(waiting(text));
    }
    QWidget *row = inOneRow({labelFor(presets, "prefPreset"), presets});
    static_cast<QBoxLayout *>(row->layout())->addStretch();
    grid->addWidget(row, 0, 0, 1, 2);
    controls.captionText = new QLabel;
    controls.captionText->setTextFormat(Qt::PlainText);
    controls.captionText->setWordWrap(true);
    controls.captionText->setAlignment(Qt::AlignTop | Qt::AlignLeading);
    controls.captionText->setMinimumHeight(2 * controls.captionText->fontMetrics().lineSpacing());
    grid->addWidget(controls.captionText, 1, 0, 1, 2);
    buildCaptionBoxes(controls, grid, 2);
}

QLayout *previewColumn(PreferencesControls &controls)
{
    controls.preview = new SheetPreview;
    controls.preview->setAccessibleName(waiting("prefPreviewName"));
    controls.layouts = new SegmentedControl(SegmentedControl::Mode::SelectOne);
    controls.layouts->setObjectName(QStringLiteral("previewLayout"));
    for (const QString &label : layoutLabels()) {
        controls.layouts->addSegment(label);
    }
    controls.layouts->selectSegment(controls.preview->layoutIndex());
    controls.sheetText = new QLabel;
    controls.sheetText->setTextFormat(Qt::PlainText);
    controls.sheetText->setAlignment(Qt::AlignCenter);
    auto *head = new QHBoxLayout;
    head->addWidget(labelFor(controls.layouts, "prefPreview"));
    head->addWidget(controls.layouts);
    head->addStretch();
    auto *column = new QVBoxLayout;
    column->setContentsMargins(columnGap, 0, 0, 0);
    column->addLayout(head);
    column->addWidget(controls.preview, 1);
    column->addWidget(controls.sheetText);
    return column;
}

QLayout *bottomRow(PreferencesControls &controls)
{
    controls.buttons = new SegmentedControl(SegmentedControl::Mode::Momentary);
    controls.buttons->setObjectName(QStringLiteral("buttons"));
    for (const char *text : {"prefCancel", "prefReset", "prefSave"}) {
        controls.buttons->addSegment(waiting(text));
    }
    auto *general = new QVBoxLayout;
    general->addWidget(switchFor(controls, "prefRefuseDamaged", "prefRefuseDamagedBox"));
    general->addWidget(switchFor(controls, "update", "prefUpdate"));
    auto *row = new QHBoxLayout;
    row->addLayout(general);
    row->addStretch();
    row->addWidget(controls.buttons);
    return row;
}

// Scrolls only up and down, and only where the window is too low for its content.
class ScrolledColumn : public QScrollArea
{
public:
    explicit ScrolledColumn(QWidget *content)
    {
        setWidget(content);
        setWidgetResizable(true);
        setFrameShape(NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
        setFocusPolicy(Qt::NoFocus);
        viewport()->setAutoFillBackground(false);
        content->setAutoFillBackground(false);
    }
    QSize sizeHint() const override { return withBar(widget()->sizeHint()); }
    QSize minimumSizeHint() const override
    {
        const QSize whole = widget()->minimumSizeHint();
        return withBar({whole.width(), std::min(whole.height(), lowestColumn)});
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == widget() && event->type() == QEvent::LayoutRequest) {
            updateGeometry();
        }
        return QScrollArea::eventFilter(watched, event);
    }

private:
    QSize withBar(const QSize &size) const
    {
        return size + QSize(verticalScrollBar()->sizeHint().width(), 0);
    }
};

int countTitle(const QComboBox *menu, int item)
{
    return intValue(menu->itemText(item));
}

} // namespace

QList<QColor> swatchColors()
{
    const auto grey = [](double level) {
        const auto part = static_cast<float>(level);
        return QColor::fromRgbF(part, part, part);
    };
    return {grey(0), grey(0.25), grey(0.85), grey(1), QColor::fromRgbF(0.98F, 0.95F, 0.88F)};
}

bool isTickedByPreset(const QString &caption, int preset)
{
    if (preset == 1) {
        return PreferencesStore::prefsDefaults().value(caption).toInt() != 0;
    }
    return preset != 0;
}

PreferencesControls buildPreferencesControls(QWidget *window)
{
    PreferencesControls controls;
    auto *column = new QWidget;
    auto *settings = new QVBoxLayout(column);
    settings->setContentsMargins(0, 0, 0, 0);
    buildDestination(controls, settings);
    buildSheet(controls, settings);
    buildPictures(controls, settings);
    buildCaptions(controls, settings);
    settings->addStretch();
    auto *grid = new QGridLayout(window);
    grid->addWidget(new ScrolledColumn(column), 0, 0);
    grid->addLayout(previewColumn(controls), 0, 1);
    grid->addLayout(bottomRow(controls), 1, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    return controls;
}

void selectCountItem(QComboBox *menu, const QString &key, const QString &title)
{
    bool isNumber = false;
    const int stored = title.toInt(&isNumber);
    const bool usable = isNumber && stored > 0 && stored <= largestCount;
    const int count = usable ? stored : PreferencesStore::prefsDefaults().value(key).toInt();
    int item = 0;
    while (item < menu->count() && countTitle(menu, item) < count) {
        ++item;
    }
    if (item == menu->count() || countTitle(menu, item) != count) {
        menu->insertItem(item, QString::number(count));
    }
    menu->setCurrentIndex(item);
}

} // namespace qv
