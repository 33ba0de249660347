#pragma once

#include "settings/panel_mapping.h"
#include "settings/preferences_store.h"
#include "shell/preferences_controls.h"

#include <QDialog>

#include <functional>

namespace qv
{

// The settings as a sheet on the main window, with a look at the sheet that they give. What the
// user changes counts when it is saved; Escape and closing the window put everything back.
class PreferencesWindow : public QDialog, public PreferencesPanel
{
    Q_OBJECT

public:
    static constexpr int cancelSegment = 0;
    static constexpr int resetSegment = 1;
    static constexpr int saveSegment = 2;

    explicit PreferencesWindow(PreferencesStore &store, QWidget *parent = nullptr);

    // At the start: every control from the stored settings, without acting upon them.
    void showStored(const std::optional<QVariantMap> &snapshot);

    QString destinationText() const override;
    void setDestinationText(const QString &text) override;
    int selectedSegment(const QString &key) const override;
    void selectSegment(const QString &key, int segment) override;
    QString selectedCount(const QString &key) const override;
    void selectCount(const QString &key, const QString &title) override;
    ColorComponents wellColor(const QString &key) const override;
    void setWellColor(const QString &key, const ColorComponents &color) override;
    double borderSize() const override;
    void setBorderSize(double points) override;
    bool isChecked(const QString &key) const override;
    void setChecked(const QString &key, bool checked) override;

    // Opens the sheet on the main window, unless that has another one open.
    void iba_menuPref();
    // The button row: cancelSegment, resetSegment (shows the defaults; the sheet stays open),
    // saveSegment.
    void iba_menuPrefSegmentClose(int segment);
    // Writes what must not wait for a whole save (destination, preset, swatch, update box), closes
    // the sheet and looks for a newer version. A stored destination that is missing stays stored
    // until another one is entered.
    void iba_menuPrefClose();
    // Says what the selected caption preset means.
    void iba_prefCaptions();
    // Shows the selected swatch in the colour preview.
    void iba_setColor();

    void reject() override;

    const PreferencesControls &controls() const { return m_controls; }

    // The update check, run when the sheet has been closed by saving.
    std::function<void()> checkForUpdates;

Q_SIGNALS:
    // The store has been written.
    void saved();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void connectControls();
    void applySwatch(int swatch);
    void leaveSwatch(const QColor &color);
    void applyPreset(int preset);
    void describeCaptions();
    void showBorderSize();
    void showSheetSize();
    void updatePreview();
    bool showsStandIn() const;
    void reset();
    void putBack();
    void save();

    PreferencesStore &m_store;
    PreferencesControls m_controls;
    int m_swatch = 0;        // the last that was chosen or stored
    double m_borderSize = 0; // the slider has only whole steps
    QVariantMap m_before;    // what cancelling brings back
    QString m_missing;       // the stored destination, if it is missing; else null
    bool m_setting = false;  // controls are being set, not used
};

} // namespace qv
