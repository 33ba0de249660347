#include "controller/sheet_freshness.h"

#include "settings/color_text.h"
#include "sheet/caption_texts.h"
#include "sheet/composer.h"
#include "sheet/layout.h"
#include "sheet/xmp_packet.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/variant_values.h"

namespace qv
{
namespace
{

const QString timecodeCaption = QStringLiteral("timecode");

// Two texts of one colour compare equal.
QString storedColor(const PreferencesStore &preferences, const char *key)
{
    const auto color = colorFromText(preferences.prefReadString(QLatin1String(key)));
    return color ? colorText(*color) : QString();
}

QStringList captionsShown(const Face &face)
{
    QStringList shown;
    for (const CaptionSwitch &caption : captionSwitches()) {
        if (caption.caption != timecodeCaption && face.captionShown(caption.caption)) {
            shown.append(caption.word);
        }
    }
    return shown;
}

} // namespace

SheetSettings sheetSettings(const Face &face, const PreferencesStore &preferences, int out, int dpi)
{
    const SheetLayout layout = sheetLayout(out);
    SheetSettings settings;
    settings.layout = layoutName(layout);
    settings.count = wholeRowsCount(layout, face.thumbnailCount(out));
    settings.format = sheetExtension(dpi);
    settings.captions = captionsShown(face);
    settings.timecodes = face.captionShown(timecodeCaption);
    settings.background = storedColor(preferences, "pageBkgColor");
    settings.borderColor = storedColor(preferences, "prefBorderColor");
    settings.borderSize =
        numberValue(preferences.prefRead(QStringLiteral("prefBorderSize"))).value_or(0);
    settings.quick = face.wantsQuickPictures();
    return settings;
}

WantedSheet wantedSheet(const Face &face, const PreferencesStore &preferences,
                        const QString &sourcePath)
{
    return {lastPathComponent(shownPath(sourcePath)), sourceState(sourcePath),
            sheetSettings(face, preferences, face.layoutIndex(), face.pictureChoice()),
            face.leavesOutPaths()};
}

QString staleReason(const Provenance &carried, const WantedSheet &wanted)
{
    if (carried.sourceName != xmpText(wanted.sourceName)) {
        return QStringLiteral("it is of another source");
    }
    if (carried.source != wanted.source) {
        return QStringLiteral("its source has changed");
    }
    if (carried.settings != wanted.settings) {
        return QStringLiteral("its settings were others");
    }
    if (carried.sourcePath.isEmpty() != wanted.leavesOutPath) {
        return wanted.leavesOutPath ? QStringLiteral("it tells where its source is")
                                    : QStringLiteral("it does not tell where its source is");
    }
    return {};
}

} // namespace qv
