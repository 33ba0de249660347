#pragma once

#include "shell/color_well.h"
#include "shell/destination_field.h"
#include "shell/segmented_control.h"
#include "shell/sheet_preview.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QLabel>
#include <QSlider>

namespace qv
{

// The colours of the swatches above 0, in their order; 0 is the well's own colour.
QList<QColor> swatchColors();

// Which captions a preset ticks: 0 none, 1 the usual ones, 2 all.
bool isTickedByPreset(const QString &caption, int preset);

// Points a step of the border's slider.
inline constexpr double borderStep = 0.5;

// Every control of the preferences, by the key of its setting; the key is its object name, too.
struct PreferencesControls {
    DestinationField *destination = nullptr;
    QHash<QString, SegmentedControl *> segments;
    QHash<QString, QComboBox *> counts;
    QHash<QString, ColorWell *> wells;
    QHash<QString, QCheckBox *> switches;
    QSlider *borderSlider = nullptr;
    QLabel *borderText = nullptr;
    QLabel *colorPreview = nullptr;
    QLabel *colorName = nullptr;
    QLabel *captionText = nullptr;
    SegmentedControl *layouts = nullptr;
    SheetPreview *preview = nullptr;
    QLabel *sheetText = nullptr;
    SegmentedControl *buttons = nullptr;
};

// Makes them in the window, laid out, with texts that wait to be localised.
PreferencesControls buildPreferencesControls(QWidget *window);

// Selects the item of this title. A number that the menu lacks is put in its place among the
// others; what is no number of stills selects the setting's default.
void selectCountItem(QComboBox *menu, const QString &key, const QString &title);

} // namespace qv
