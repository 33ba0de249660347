#include "shell/preferences_window.h"

#include "shell/screen_fit.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QEvent>
#include <QKeyEvent>
#include <QLocale>
#include <QPushButton>
#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

const QString colorKey = QStringLiteral("prefColor");
const QString presetKey = QStringLiteral("prefCheckMatrix");
const QString backgroundKey = QStringLiteral("pageBkgColor");
const QString destinationKey = QStringLiteral("prefDefautDstPathStr");
const QString updateKey = QStringLiteral("update");

// What a segment that isn't there means: every picture choice but 0 is PNG, an unknown colour is
// the well's own, an unknown preset the usual one.
int admissibleSegment(const QString &key, int segment, int count)
{
    if (segment >= 0 && segment < count) {
        return segment;
    }
    if (key == colorKey) {
        return 0;
    }
    return key == presetKey ? PreferencesStore::prefsDefaults().value(key).toInt() : count - 1;
}

QColor colorOf(const ColorComponents &color)
{
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

bool isSheet(const QDialog *dialog)
{
    return dialog->isVisible() && dialog->isModal();
}

bool isCaptionSwitch(const QString &key)
{
    return key != updateKey && key != QLatin1String("prefRefuseDamaged");
}

} // namespace

PreferencesWindow::PreferencesWindow(PreferencesStore &store, QWidget *parent)
    : QDialog(parent, Qt::Sheet), m_store(store), m_controls(buildPreferencesControls(this))
{
    setWindowTitle(QStringLiteral("@@prefTitle"));
    connectControls();
    showStored(std::nullopt);
}

void PreferencesWindow::connectControls()
{
    const PreferencesControls &c = m_controls;
    connect(c.segments[colorKey], &SegmentedControl::clicked, this,
            &PreferencesWindow::applySwatch);
    connect(c.segments[presetKey], &SegmentedControl::clicked, this,
            &PreferencesWindow::applyPreset);
    connect(c.segments[QStringLiteral("prefDpi")], &SegmentedControl::clicked, this,
            &PreferencesWindow::updatePreview);
    for (QComboBox *menu : c.counts) {
        connect(menu, &QComboBox::currentIndexChanged, this, &PreferencesWindow::updatePreview);
    }
    for (ColorWell *well : c.wells) {
        connect(well, &ColorWell::colorChosen, this, &PreferencesWindow::updatePreview);
    }
    connect(c.wells[backgroundKey], &ColorWell::colorChosen, this, &PreferencesWindow::leaveSwatch);
    for (QCheckBox *box : c.switches) {
        connect(box, &QCheckBox::toggled, this, [this] {
            describeCaptions();
            updatePreview();
        });
    }
    connect(c.borderSlider, &QSlider::valueChanged, this, [this](int step) {
        m_borderSize = step * borderStep;
        showBorderSize();
        updatePreview();
    });
    connect(c.layouts, &SegmentedControl::clicked, c.preview, &SheetPreview::setLayoutIndex);
    connect(c.preview, &SheetPreview::updated, this, &PreferencesWindow::showSheetSize);
    connect(c.buttons, &SegmentedControl::clicked, this,
            &PreferencesWindow::iba_menuPrefSegmentClose);
}

void PreferencesWindow::showStored(const std::optional<QVariantMap> &snapshot)
{
    {
        const QScopedValueRollback<bool> setting(m_setting, true);
        prefs2GuiAppky(*this, snapshot.value_or(QVariantMap()));
    }
    m_before = prefs2GuiAppky(*this, std::nullopt);
    m_missing = missingDestination(snapshot.value_or(QVariantMap()));
    m_controls.destination->showMissing(m_missing);
    m_swatch = selectedSegment(colorKey);
    describeCaptions();
    iba_setColor();
    updatePreview();
}

// ---- the controls by their keys

QString PreferencesWindow::destinationText() const
{
    return m_controls.destination->text();
}

void PreferencesWindow::setDestinationText(const QString &text)
{
    m_controls.destination->setText(text);
}

int PreferencesWindow::selectedSegment(const QString &key) const
{
    return m_controls.segments.value(key)->selectedSegment();
}

void PreferencesWindow::selectSegment(const QString &key, int segment)
{
    SegmentedControl *control = m_controls.segments.value(key);
    control->selectSegment(admissibleSegment(key, segment, control->count()));
}

QString PreferencesWindow::selectedCount(const QString &key) const
{
    return m_controls.counts.value(key)->currentText();
}

void PreferencesWindow::selectCount(const QString &key, const QString &title)
{
    selectCountItem(m_controls.counts.value(key), key, title);
}

ColorComponents PreferencesWindow::wellColor(const QString &key) const
{
    const QColor color = m_controls.wells.value(key)->color();
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

void PreferencesWindow::setWellColor(const QString &key, const ColorComponents &color)
{
    m_controls.wells.value(key)->setColor(colorOf(color));
}

double PreferencesWindow::borderSize() const
{
    return m_borderSize;
}

void PreferencesWindow::setBorderSize(double points)
{
    m_controls.borderSlider->setValue(
        static_cast<int>(std::lround(std::clamp(points, 0.0, largestBorderSize) / borderStep)));
    m_borderSize = std::clamp(points, 0.0, largestBorderSize);
    showBorderSize();
}

bool PreferencesWindow::isChecked(const QString &key) const
{
    return m_controls.switches.value(key)->isChecked();
}

void PreferencesWindow::setChecked(const QString &key, bool checked)
{
    m_controls.switches.value(key)->setChecked(checked);
}

// ---- what the user does

void PreferencesWindow::applySwatch(int swatch)
{
    m_swatch = swatch;
    if (swatch > 0) {
        m_controls.wells[backgroundKey]->setColor(swatchColors().at(swatch - 1));
    }
    iba_setColor();
    updatePreview();
}

// A colour dialog that is cancelled brings the swatch's colour back, and the swatch with it.
void PreferencesWindow::leaveSwatch(const QColor &color)
{
    const bool isSwatch = m_swatch > 0 && swatchColors().at(m_swatch - 1) == color;
    selectSegment(colorKey, isSwatch ? m_swatch : 0);
    iba_setColor();
}

void PreferencesWindow::applyPreset(int preset)
{
    {
        const QScopedValueRollback<bool> setting(m_setting, true);
        for (auto it = m_controls.switches.cbegin(); it != m_controls.switches.cend(); ++it) {
            if (isCaptionSwitch(it.key())) {
                it.value()->setChecked(isTickedByPreset(it.key(), preset));
            }
        }
    }
    iba_prefCaptions();
    updatePreview();
}

void PreferencesWindow::iba_prefCaptions()
{
    const int preset = selectedSegment(presetKey);
    logDebug([&] { return QStringLiteral("[prefCheckMatrix selectedSegment] = %1").arg(preset); });
    m_controls.captionText->setText(localized(QStringLiteral("prefCaption%1").arg(preset)));
}

// The preset's words would be untrue of boxes that were ticked one by one.
void PreferencesWindow::describeCaptions()
{
    if (m_setting) {
        return;
    }
    const int preset = selectedSegment(presetKey);
    bool isPreset = true;
    for (auto it = m_controls.switches.cbegin(); it != m_controls.switches.cend(); ++it) {
        isPreset = isPreset && (!isCaptionSwitch(it.key()) ||
                                it.value()->isChecked() == isTickedByPreset(it.key(), preset));
    }
    if (isPreset) {
        iba_prefCaptions();
    } else {
        m_controls.captionText->setText(localized(QStringLiteral("prefCaptionOwn")));
    }
}

void PreferencesWindow::iba_setColor()
{
    const int swatch = selectedSegment(colorKey);
    const QColor color =
        swatch > 0 ? swatchColors().at(swatch - 1) : m_controls.wells[backgroundKey]->color();
    const int high = fontMetrics().height();
    m_controls.colorPreview->setPixmap(
        swatchIcon([color] { return color; }).pixmap(QSize(2 * high, high), devicePixelRatioF()));
    m_controls.colorName->setText(localized(QStringLiteral("prefSwatch%1").arg(swatch)));
    m_controls.segments[colorKey]->update();
}

void PreferencesWindow::showBorderSize()
{
    const QString size = QLocale(language()).toString(m_borderSize, 'g', 3);
    m_controls.borderText->setText(localized(QStringLiteral("prefPoints")).arg(size));
}

void PreferencesWindow::showSheetSize()
{
    const QSize size = m_controls.preview->sheetSize();
    const QString text = localized(QStringLiteral("prefSheetSize"))
                             .arg(QString::number(m_controls.preview->stills()),
                                  QString::number(size.width()), QString::number(size.height()));
    m_controls.sheetText->setText(size.isEmpty() ? QString() : text);
}

void PreferencesWindow::updatePreview()
{
    if (!m_setting) {
        m_controls.preview->setPreferences(prefs2GuiAppky(*this, std::nullopt));
    }
}

// ---- the sheet

void PreferencesWindow::iba_menuPref()
{
    if (QWidget *window = parentWidget()) {
        const auto sheets =
            window->window()->findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly);
        if (std::any_of(sheets.begin(), sheets.end(), isSheet)) {
            return;
        }
    }
    // A folder may have come or gone since.
    m_controls.destination->check();
    m_before = prefs2GuiAppky(*this, std::nullopt);
    m_controls.destination->edit()->setFocus();
    if (!testAttribute(Qt::WA_Resized)) {
        resize(sizeHint().boundedTo(largestOnScreen(*this)));
    }
    open();
}

void PreferencesWindow::iba_menuPrefSegmentClose(int segment)
{
    switch (segment) {
    case resetSegment:
        reset();
        break;
    case saveSegment:
        m_store.prefWrite(colorKey, selectedSegment(colorKey));
        save();
        break;
    default:
        putBack();
        QDialog::reject();
        break;
    }
}

void PreferencesWindow::save()
{
    QVariantMap values = prefs2GuiAppky(*this, std::nullopt);
    if (showsStandIn()) {
        values.remove(destinationKey);
    }
    m_store.prefsWriteAll(values);
    iba_menuPrefClose();
}

void PreferencesWindow::iba_menuPrefClose()
{
    if (!showsStandIn()) {
        m_store.prefWrite(destinationKey, destinationText());
        m_missing = QString();
    }
    m_store.prefWrite(presetKey, selectedSegment(presetKey));
    m_store.prefWrite(colorKey, selectedSegment(colorKey));
    m_store.prefWrite(updateKey, isChecked(updateKey) ? 1 : 0);
    m_before = prefs2GuiAppky(*this, std::nullopt);
    accept();
    Q_EMIT saved();
    if (checkForUpdates) {
        checkForUpdates();
    }
    m_store.synchronize();
}

bool PreferencesWindow::showsStandIn() const
{
    return !m_controls.destination->missing().isNull();
}

// Shown, not saved: the user sees what it would do, and may still cancel.
void PreferencesWindow::reset()
{
    const QVariantMap before = m_before;
    const QString missing = m_missing;
    showStored(PreferencesStore::prefsDefaults());
    m_before = before;
    m_missing = missing;
}

void PreferencesWindow::putBack()
{
    const QVariantMap before = m_before;
    const QString missing = m_missing;
    showStored(before);
    // Also a folder that is gone: it was there before, and it is the user's to change.
    setDestinationText(before.value(destinationKey).toString());
    m_missing = missing;
    m_controls.destination->showMissing(m_missing);
    m_before = before;
}

void PreferencesWindow::reject()
{
    iba_menuPrefSegmentClose(cancelSegment);
}

// Return presses the button that has the focus, and saves from everywhere else.
void PreferencesWindow::keyPressEvent(QKeyEvent *event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isReturn || (event->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) {
        QDialog::keyPressEvent(event);
        return;
    }
    auto *button = qobject_cast<QAbstractButton *>(focusWidget());
    const bool isCommand = button != nullptr && (qobject_cast<QPushButton *>(button) != nullptr ||
                                                 m_controls.buttons->isAncestorOf(button));
    if (isCommand) {
        button->click();
    } else {
        iba_menuPrefSegmentClose(saveSegment);
    }
}

void PreferencesWindow::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_controls.buttons != nullptr) {
        iba_setColor();
    }
}

} // namespace qv
