#include "sheet/jpeg_encoder.h"
#include "sheet/jpeg_errors.h"

#include <QColorSpace>

#include <cstdlib>

// The image plug-in halves the resolution of colour at every quality, which smears coloured texts
// and thin borders.
namespace qv
{

namespace
{

constexpr int bestQuality = 100;
constexpr int components = 4; // the last one is ignored
// How QRgb lies in memory.
constexpr J_COLOR_SPACE pixelOrder = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRX : JCS_EXT_XRGB;
constexpr int dotsPerInch = 1; // JFIF's code of the density unit

struct Encoded {
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
};

UINT16 density(int dotsPerMeter)
{
    constexpr double metersPerInch = 0.0254;
    return static_cast<UINT16>(qBound(1, qRound(dotsPerMeter * metersPerInch), 65535));
}

void setParameters(jpeg_compress_struct &codec, const QImage &picture)
{
    codec.image_width = static_cast<JDIMENSION>(picture.width());
    codec.image_height = static_cast<JDIMENSION>(picture.height());
    codec.input_components = components;
    codec.in_color_space = pixelOrder;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, bestQuality, TRUE);
    codec.comp_info[0].h_samp_factor = 1;
    codec.comp_info[0].v_samp_factor = 1;
    codec.density_unit = dotsPerInch;
    codec.X_density = density(picture.dotsPerMeterX());
    codec.Y_density = density(picture.dotsPerMeterY());
}

// Errors of the library jump back here, past whatever it was doing, so nothing in this function
// may own anything.
bool compress(const QImage &pixels, const QByteArray &profile, Encoded &encoded)
{
    jpeg_compress_struct codec;
    JpegErrors errors;
    codec.err = jumpingErrors(errors);
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_compress(&codec);
        return false;
    }
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &encoded.bytes, &encoded.size);
    setParameters(codec, pixels);
    jpeg_start_compress(&codec, TRUE);
    if (!profile.isEmpty()) {
        jpeg_write_icc_profile(&codec, reinterpret_cast<const JOCTET *>(profile.constData()),
                               static_cast<unsigned>(profile.size()));
    }
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW line =
            const_cast<JSAMPROW>(pixels.constScanLine(static_cast<int>(codec.next_scanline)));
        jpeg_write_scanlines(&codec, &line, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    return true;
}

} // namespace

QByteArray encodeJpeg(const QImage &picture)
{
    if (picture.isNull()) {
        return {};
    }
    // Premultiplied components are those over black.
    const QImage pixels = picture.format() == QImage::Format_RGB32
                              ? picture
                              : picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QByteArray profile = picture.colorSpace().iccProfile();
    Encoded encoded;
    if (!compress(pixels, profile, encoded)) {
        return {}; // the buffer belongs to the library until it has finished
    }
    const QByteArray bytes(reinterpret_cast<const char *>(encoded.bytes),
                           static_cast<qsizetype>(encoded.size));
    std::free(encoded.bytes);
    return bytes;
}

} // namespace qv
