#include "sheet/jpeg_decoder.h"

#include "sheet/jpeg_errors.h"

#include <QtMath>

#include <algorithm>

namespace qv
{
namespace
{

constexpr unsigned blockSide = 8;
// How QRgb lies in memory.
constexpr J_COLOR_SPACE pixelOrder = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;

void begin(jpeg_decompress_struct &codec, const QByteArray &bytes)
{
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, reinterpret_cast<const unsigned char *>(bytes.constData()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&codec, TRUE);
}

QSize outputSize(const jpeg_decompress_struct &codec)
{
    return {static_cast<int>(codec.output_width), static_cast<int>(codec.output_height)};
}

// The smallest number of eighths that is not below the size.
unsigned eighthsFor(const jpeg_decompress_struct &codec, const QSize &size)
{
    const double factor = std::min(static_cast<double>(codec.image_width) / size.width(),
                                   static_cast<double>(codec.image_height) / size.height());
    return static_cast<unsigned>(qBound(1, qCeil(blockSide / factor), int{blockSide}));
}

// Errors of the library jump back to `visit`, so nothing in these functions may own anything.
template <typename Visit> bool withDecoder(const QByteArray &bytes, const Visit &visit)
{
    jpeg_decompress_struct codec;
    JpegErrors errors;
    codec.err = jumpingErrors(errors);
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_decompress(&codec);
        return false;
    }
    begin(codec, bytes);
    const bool done = visit(codec);
    jpeg_destroy_decompress(&codec);
    return done;
}

bool decompress(jpeg_decompress_struct &codec, const QSize &size, QImage &picture)
{
    if (codec.jpeg_color_space != JCS_YCbCr) {
        return false;
    }
    codec.scale_num = eighthsFor(codec, size);
    codec.scale_denom = blockSide;
    codec.out_color_space = pixelOrder;
    jpeg_calc_output_dimensions(&codec);
    picture = QImage(outputSize(codec), QImage::Format_RGB32);
    if (picture.isNull()) {
        return false;
    }
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW line = picture.scanLine(static_cast<int>(codec.output_scanline));
        jpeg_read_scanlines(&codec, &line, 1);
    }
    jpeg_finish_decompress(&codec);
    return true;
}

} // namespace

QSize jpegSize(const QByteArray &bytes)
{
    QSize size;
    withDecoder(bytes, [&](const jpeg_decompress_struct &codec) {
        size = QSize(static_cast<int>(codec.image_width), static_cast<int>(codec.image_height));
        return true;
    });
    return size;
}

QImage decodeJpeg(const QByteArray &bytes, const QSize &size)
{
    QImage picture;
    if (size.isEmpty() || !withDecoder(bytes, [&](jpeg_decompress_struct &codec) {
            return decompress(codec, size, picture);
        })) {
        return {};
    }
    return picture.size() == size
               ? picture
               : picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace qv
