#pragma once

#include "sheet/composer.h"
#include "sheet/layout.h"

#include <QColor>
#include <QPainter>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace qv
{

struct SheetCaption {
    QString key;
    QString text;
};

// What stands on a sheet.
struct SheetContent {
    QStringList stills; // by picture index
    QVariantMap timecodes;
    QString title;
    std::vector<SheetCaption> captions;
    QColor background;
    QColor border;
    CaptionColors text;
};

// Paints the sheet in the geometry's canvas coordinates; gives how many stills stand in their
// cells.
int paintSheet(QPainter &painter, const SheetGeometry &sheet, const SheetContent &content);

} // namespace qv
