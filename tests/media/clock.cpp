#include "media/clock.h"

#include <QStringList>

namespace
{

constexpr int columns = 8;
constexpr int rows = 4;
constexpr int bits = 16;
constexpr int firstBitRow = 1;

struct Level {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// Colours for two by two pixels need even sides.
bool hasOddSide(const char *size)
{
    const QStringList sides = QString::fromLatin1(size).split(u'x');
    return sides.first().toInt() % 2 == 1 || sides.last().toInt() % 2 == 1;
}

// Such sources are in BT.709 unless they say otherwise.
bool isHd(const char *size)
{
    return QString::fromLatin1(size).section(u'x', 0, 0).toInt() >= 1280;
}

QString block(int column, int row, const char *color)
{
    return QStringLiteral("drawbox=x=iw*%1/8:y=ih*%2/4:w=iw/8:h=ih/4:t=fill:color=%3")
        .arg(QString::number(column), QString::number(row), QLatin1String(color));
}

// Whether the bit is set at the time t; a hundredth of a tick makes up for rounded times.
QString bitIsSet(int bit, double tick)
{
    return QStringLiteral("enable='gte(mod((t/%1+0.01)/%2,2),1)'")
        .arg(QString::number(tick), QString::number(1 << bit));
}

// The mean of the middle half of a block, where no neighbour shines in.
Level levelOf(const QImage &sheet, const QRectF &cell, int column, int row)
{
    const double width = cell.width() / columns;
    const double height = cell.height() / rows;
    const QRect middle = QRectF(cell.x() + (column + 0.25) * width,
                                cell.y() + (row + 0.25) * height, width / 2, height / 2)
                             .toRect()
                             .intersected(sheet.rect());
    Level sum;
    const int count = middle.width() * middle.height();
    for (int y = middle.top(); y <= middle.bottom(); ++y) {
        for (int x = middle.left(); x <= middle.right(); ++x) {
            const QRgb pixel = sheet.pixel(x, y);
            sum = {sum.red + qRed(pixel), sum.green + qGreen(pixel), sum.blue + qBlue(pixel)};
        }
    }
    return count > 0 ? Level{sum.red / count, sum.green / count, sum.blue / count}
                     : Level{128, 128, 128};
}

bool isRed(const Level &level)
{
    return level.red > 140 && level.green < 110 && level.blue < 110;
}

std::optional<bool> bitOf(const Level &level)
{
    const int mean = (level.red + level.green + level.blue) / 3;
    if (mean > 80 && mean < 175) {
        return {};
    }
    return mean >= 175;
}

} // namespace

QString clockFilters(const Picture &picture)
{
    QStringList filters{QStringLiteral("color=c=gray:s=%1:r=%2:d=%3,format=%4")
                            .arg(QLatin1String(picture.size), QLatin1String(picture.rate),
                                 QString::number(picture.seconds),
                                 QLatin1String(hasOddSide(picture.size) ? "yuv444p" : "yuv420p"))};
    if (picture.clock) {
        filters.append(block(0, 0, "red"));
        for (int bit = 0; bit < bits; ++bit) {
            const int column = bit % columns;
            const int row = firstBitRow + bit / columns;
            filters.append(block(column, row, "black"));
            filters.append(block(column, row, "white") + u':' + bitIsSet(bit, picture.tick));
        }
    }
    if (isHd(picture.size)) {
        filters.append(QStringLiteral("scale=in_color_matrix=bt601:out_color_matrix=bt709"));
    }
    return filters.join(u',');
}

std::optional<double> readClock(const QImage &sheet, const QRectF &cell, double tick)
{
    if (!isRed(levelOf(sheet, cell, 0, 0))) {
        return {};
    }
    int ticks = 0;
    for (int bit = 0; bit < bits; ++bit) {
        const auto set = bitOf(levelOf(sheet, cell, bit % columns, firstBitRow + bit / columns));
        if (!set) {
            return {};
        }
        ticks |= *set ? 1 << bit : 0;
    }
    return ticks * tick;
}

SeenColours readColours(const QImage &sheet, const QRectF &cell)
{
    const auto colour = [&](int column) {
        const Level level = levelOf(sheet, cell, column, 0);
        return QColor(level.red, level.green, level.blue);
    };
    return {colour(0), colour(columns / 2)};
}
