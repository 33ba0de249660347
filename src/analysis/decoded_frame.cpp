#include "analysis/decoded_frame.h"

#include "analysis/ffmpeg_probes.h"

#include <QList>

namespace qv
{
namespace
{

// "30000:1001" as a number; 0 when either side is not above 0.
double ratio(const QByteArray &text)
{
    const QList<QByteArray> sides = text.split(':');
    const int numerator = sides.value(0).toInt();
    const int denominator = sides.value(1).toInt();
    return numerator > 0 && denominator > 0 ? double(numerator) / denominator : 0;
}

void take(DecodedFrame &frame, const QByteArray &field)
{
    const QByteArray value = field.mid(1);
    switch (field.isEmpty() ? '\0' : field.front()) {
    case 'W':
        frame.width = value.toInt();
        break;
    case 'H':
        frame.height = value.toInt();
        break;
    case 'F':
        frame.fps = ratio(value);
        break;
    case 'A':
        frame.pixelAspect = ratio(value) > 0 ? QString::fromLatin1(value) : QString();
        break;
    default:
        break;
    }
}

} // namespace

DecodedFrame decodedFrame(const QByteArray &firstBytes)
{
    // YUV4MPEG2 W720 H576 F25:1 It A16:15 C420mpeg2
    DecodedFrame frame;
    const QList<QByteArray> fields = firstBytes.split('\n').first().split(' ');
    if (fields.first() == "YUV4MPEG2") {
        for (const QByteArray &field : fields.mid(1)) {
            take(frame, field);
        }
    }
    frame.mark = interlaceMark(firstBytes);
    return frame;
}

} // namespace qv
