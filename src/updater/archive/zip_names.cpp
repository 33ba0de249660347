#include "updater/archive/zip_names.h"

#include <algorithm>

namespace qv
{
namespace
{

constexpr qsizetype longestComponent = 255;
constexpr qsizetype longestPath = 4000; // below the 4096 that the system takes
constexpr qsizetype deepest = 64;
constexpr qsizetype longestShown = 100;

bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20;
}

bool isForbidden(char byte)
{
    return byte == '\\' || isControl(byte);
}

// Format characters turn the text around them.
bool isUnshowable(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format;
}

bool isUsableComponent(const QByteArray &component)
{
    return !component.isEmpty() && component != "." && component != ".." &&
           component.size() <= longestComponent;
}

QString fitted(const QString &text)
{
    if (text.size() <= longestShown) {
        return text;
    }
    const qsizetype end = text.at(longestShown - 1).isHighSurrogate() ? 1 : 0;
    return text.left(longestShown - end) + QChar(0x2026);
}

} // namespace

std::optional<QList<QByteArray>> entryComponents(const QByteArray &name)
{
    if (name.size() > longestPath || std::any_of(name.begin(), name.end(), isForbidden)) {
        return std::nullopt;
    }
    const QByteArray path = name.endsWith('/') ? name.chopped(1) : name;
    QList<QByteArray> components = path.split('/');
    if (components.size() > deepest ||
        !std::all_of(components.begin(), components.end(), isUsableComponent)) {
        return std::nullopt;
    }
    return components;
}

bool isLinkWithin(const QByteArray &target, qsizetype foldersAbove)
{
    if (target.isEmpty() || target.size() > longestLink || target.contains('\0')) {
        return false;
    }
    const QList<QByteArray> steps = target.split('/');
    const auto firstDown = std::find_if(steps.begin(), steps.end(),
                                        [](const QByteArray &step) { return step != ".."; });
    return firstDown - steps.begin() < foldersAbove &&
           std::all_of(firstDown, steps.end(), isUsableComponent);
}

QString shownEntry(const QByteArray &name)
{
    // Four bytes are the most that a character takes.
    QString text = QString::fromUtf8(name.left(4 * (longestShown + 1)));
    std::replace_if(text.begin(), text.end(), isUnshowable, QChar(QChar::ReplacementCharacter));
    return fitted(text);
}

QString damagedArchive(const QByteArray &entry)
{
    return QStringLiteral("the archive is damaged: %1").arg(shownEntry(entry));
}

} // namespace qv
