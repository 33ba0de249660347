#include "sheet/caption_texts.h"

#include "sheet/record_values.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <algorithm>
#include <optional>

namespace qv
{

namespace
{

constexpr double mebibytesPerGibibyte = 1024;

QString titleOf(const QVariantMap &input, const QString &shownPath)
{
    const QString clipName = stringIn(input, QStringLiteral("clipName"));
    return clipName.isEmpty() ? lastPathComponent(withoutExtension(EyetvBundle(shownPath)))
                              : clipName;
}

QString day(const QString &path)
{
    return creationDateText(path).section(QLatin1Char(' '), 0, 0);
}

QString pictureSize(const QVariantMap &input)
{
    return QStringLiteral("%1 %2 pixels * %3 %4 px")
        .arg(localizedCapitalized(QStringLiteral("width")), QString::number(sourceWidth(input)),
             localizedCapitalized(QStringLiteral("height")), QString::number(sourceHeight(input)));
}

QString videoIdentity(const QVariantMap &input)
{
    QString text = pictureSize(input);
    const QString fields = stringIn(input, QStringLiteral("v0_fields"));
    if (!fields.isNull()) {
        text += QStringLiteral(" - %1 '%2'")
                    .arg(localizedCapitalized(QStringLiteral("interlacing")), fields);
    }
    const std::optional<double> rate = numberIn(input, QStringLiteral("v0_fps"));
    if (rate) {
        text += QStringLiteral(" - %1 %2")
                    .arg(localized(QStringLiteral("framerate")), fixedText(*rate, 2));
    }
    const QString aspect = stringIn(input, QStringLiteral("v0_dar"));
    if (!aspect.isNull()) {
        text +=
            QStringLiteral(" - %1 %2").arg(localizedCapitalized(QStringLiteral("display")), aspect);
    }
    if (hasWrongColours(input)) {
        text += QStringLiteral(" - %1 (%2)")
                    .arg(localized(QStringLiteral("wrongColors")),
                         stringIn(input, QStringLiteral("v0_hdr")));
    }
    return text;
}

// Null when the file is missing.
QString weight(const QString &path)
{
    const double mebibytes = fileSize(path, QStringLiteral("M"));
    if (mebibytes < 0) {
        return {};
    }
    const QString byte = localized(QStringLiteral("D_byte"));
    if (mebibytes < mebibytesPerGibibyte) {
        return QStringLiteral("%1 M%2").arg(fixedText(mebibytes, 0), byte);
    }
    return QStringLiteral("%1 G%2").arg(fixedText(mebibytes / mebibytesPerGibibyte, 2), byte);
}

// Some codecs are known to people by another name than the one that files carry.
QString videoCodecName(const QString &codec)
{
    static const QStringList proResCodes{QStringLiteral("prores"), QStringLiteral("apcn"),
                                         QStringLiteral("apch"),   QStringLiteral("apcs"),
                                         QStringLiteral("apco"),   QStringLiteral("ap4h")};
    const QString code = codec.toLower();
    if (code == QLatin1String("icod")) {
        return QStringLiteral("AppleIntermediateCodec");
    }
    return proResCodes.contains(code) ? QStringLiteral("ProRes (%1)").arg(codec) : codec;
}

QString wrapperText(const QVariantMap &input, const QString &path)
{
    const QString wrapper = stringIn(input, QStringLiteral("wrapper"));
    if (wrapper.isNull()) {
        return QLatin1String("");
    }
    return QStringLiteral("%1 %2 (.%3)")
        .arg(localizedCapitalized(QStringLiteral("wrapper")), wrapper, pathExtension(path));
}

QString contents(const QVariantMap &input, const QString &path)
{
    const QString video = videoCodecName(stringIn(input, QStringLiteral("v0_codec")));
    const QString audio = stringIn(input, QStringLiteral("a0_codec"));
    QStringList codecs;
    if (!video.isEmpty()) {
        codecs << QStringLiteral("%1 %2").arg(localized(QStringLiteral("video")), video);
    }
    if (!audio.isEmpty()) {
        codecs << QStringLiteral("%1 %2").arg(localized(QStringLiteral("audio")), audio);
    }
    QString text = wrapperText(input, path);
    if (!codecs.isEmpty()) {
        text += QStringLiteral(" - %1: %2")
                    .arg(localizedCapitalized(QStringLiteral("contents")),
                         codecs.join(QStringLiteral(", ")));
    }
    if (input.contains(QStringLiteral("damaged"))) {
        text += QStringLiteral(" - ") + localized(QStringLiteral("damaged"));
    }
    return text;
}

} // namespace

QVariantMap captionTexts(const QVariantMap &input)
{
    const QString path = stringIn(input, QStringLiteral("srcPathStr"));
    const QString shown = shownPath(path);
    QVariantMap texts{{QStringLiteral("name"), titleOf(input, shown)},
                      {QStringLiteral("location"), shown},
                      {QStringLiteral("date"), day(path)},
                      {QStringLiteral("duration"), durationText(sourceDuration(input))},
                      {QStringLiteral("vIdentity"), videoIdentity(input)},
                      {QStringLiteral("poids"), weight(path)},
                      {QStringLiteral("essence"), contents(input, shown)}};
    // What is unknown makes no line.
    texts.removeIf([](const auto &text) { return text.value().toString().isEmpty(); });
    return texts;
}

QStringList captionLineKeys()
{
    return {QStringLiteral("location"),  QStringLiteral("date"),  QStringLiteral("duration"),
            QStringLiteral("vIdentity"), QStringLiteral("poids"), QStringLiteral("essence")};
}

const QList<CaptionSwitch> &captionSwitches()
{
    static const QList<CaptionSwitch> switches{
        {QStringLiteral("name"), QStringLiteral("pageName"), QStringLiteral("name")},
        {QStringLiteral("location"), QStringLiteral("pageLocation"), QStringLiteral("location")},
        {QStringLiteral("date"), QStringLiteral("pageDate"), QStringLiteral("date")},
        {QStringLiteral("duration"), QStringLiteral("pageDuration"), QStringLiteral("duration")},
        {QStringLiteral("vIdentity"), QStringLiteral("pageVIdentity"), QStringLiteral("picture")},
        {QStringLiteral("poids"), QStringLiteral("pagePoids"), QStringLiteral("size")},
        {QStringLiteral("essence"), QStringLiteral("pageEssence"), QStringLiteral("contents")},
        {QStringLiteral("timecode"), QStringLiteral("prefTimecode"), QStringLiteral("timecode")}};
    return switches;
}

bool isCaptionOn(const PreferencesStore &preferences, const QString &caption)
{
    const QList<CaptionSwitch> &switches = captionSwitches();
    const auto known =
        std::find_if(switches.begin(), switches.end(),
                     [&](const CaptionSwitch &one) { return one.caption == caption; });
    return known == switches.end() || intValue(preferences.prefReadString(known->preference)) != 0;
}

} // namespace qv
