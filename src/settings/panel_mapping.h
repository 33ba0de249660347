#pragma once

#include "settings/color_text.h"
#include "settings/preferences_store.h"

#include <QString>
#include <QVariantMap>

#include <optional>

// The settings on one side, the controls that show and edit them on the other.
namespace qv
{

// The controls by the key of their setting. Setting a control from here is not the user's doing:
// no control acts upon another one.
class PreferencesPanel
{
public:
    virtual ~PreferencesPanel() = default;

    // The default destination folder: its field, and with it the label that repeats it.
    virtual QString destinationText() const = 0;
    virtual void setDestinationText(const QString &text) = 0;

    // prefColor, prefCheckMatrix, prefDpi. A segment that isn't there selects the nearest meaning.
    virtual int selectedSegment(const QString &key) const = 0;
    virtual void selectSegment(const QString &key, int segment) = 0;

    // prefLimitMix, prefLimitMin, prefLimitMed, prefLimitBig: the item by its title ("48").
    virtual QString selectedCount(const QString &key) const = 0;
    virtual void selectCount(const QString &key, const QString &title) = 0;

    // prefBorderColor, pageBkgColor.
    virtual ColorComponents wellColor(const QString &key) const = 0;
    virtual void setWellColor(const QString &key, const ColorComponents &color) = 0;

    // prefBorderSize, in points.
    virtual double borderSize() const = 0;
    virtual void setBorderSize(double points) = 0;

    // The captions' switches, prefTimecode, update and prefRefuseDamaged.
    virtual bool isChecked(const QString &key) const = 0;
    virtual void setChecked(const QString &key, bool checked) = 0;
};

// Given values, shows them in every control, the default where one is missing, and answers them
// completed; what is no colour leaves its well as it is. Given nothing, reads every control and
// answers the values. Always in the same order.
QVariantMap prefs2GuiAppky(PreferencesPanel &panel, const std::optional<QVariantMap> &values);

// The folder that a stored destination shows: the one that holds our own "Quorvantel" folder, the
// default when it no longer exists.
QString shownDestination(const QVariantMap &values);
// The stored destination for which the default is shown because it is missing, as on a disk that is
// not mounted; null when there is none.
QString missingDestination(const QVariantMap &values);

} // namespace qv
