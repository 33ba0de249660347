#include "published/image_encoders.h"

#include <gif_lib.h>

#include <memory>
#include <vector>

namespace qv
{

namespace
{

constexpr int paletteSize = 256;
constexpr int transparentIndex = paletteSize - 1;
constexpr int colorResolutionBits = 8;
constexpr int largestSide = 65535; // sizes are 16 bits in the file
constexpr int halfOpaque = 128;

struct Planes {
    explicit Planes(std::size_t size) : red(size), green(size), blue(size), clear(size) {}
    std::vector<GifByteType> red;
    std::vector<GifByteType> green;
    std::vector<GifByteType> blue;
    std::vector<bool> clear;
    bool anyClear = false;
};

struct Indexed {
    std::vector<GifByteType> pixels;
    std::vector<GifColorType> palette = std::vector<GifColorType>(paletteSize);
    bool transparent = false;
};

struct MapDeleter {
    void operator()(ColorMapObject *map) const { GifFreeMapObject(map); }
};
using MapPointer = std::unique_ptr<ColorMapObject, MapDeleter>;

struct GifCloser {
    void operator()(GifFileType *gif) const { EGifCloseFile(gif, nullptr); }
};
using GifPointer = std::unique_ptr<GifFileType, GifCloser>;

int appendBytes(GifFileType *gif, const GifByteType *bytes, int count)
{
    static_cast<QByteArray *>(gif->UserData)->append(reinterpret_cast<const char *>(bytes), count);
    return count;
}

Planes planesOf(const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(QImage::Format_ARGB32);
    const std::size_t width = static_cast<std::size_t>(pixels.width());
    Planes planes(width * static_cast<std::size_t>(pixels.height()));
    std::size_t at = 0;
    for (int y = 0; y < pixels.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(pixels.constScanLine(y));
        for (std::size_t x = 0; x < width; ++x, ++at) {
            planes.red[at] = static_cast<GifByteType>(qRed(line[x]));
            planes.green[at] = static_cast<GifByteType>(qGreen(line[x]));
            planes.blue[at] = static_cast<GifByteType>(qBlue(line[x]));
            planes.clear[at] = qAlpha(line[x]) < halfOpaque;
            planes.anyClear = planes.anyClear || planes.clear[at];
        }
    }
    return planes;
}

// Gives nothing when the colours could not be reduced.
Indexed indexed(const QImage &picture)
{
    Planes planes = planesOf(picture);
    Indexed result;
    result.pixels.resize(planes.red.size());
    result.transparent = planes.anyClear;
    int colors = planes.anyClear ? transparentIndex : paletteSize;
    const int done = GifQuantizeBuffer(static_cast<unsigned>(picture.width()),
                                       static_cast<unsigned>(picture.height()), &colors,
                                       planes.red.data(), planes.green.data(), planes.blue.data(),
                                       result.pixels.data(), result.palette.data());
    if (done != GIF_OK) {
        return {};
    }
    for (std::size_t i = 0; i < result.pixels.size(); ++i) {
        if (planes.clear[i]) {
            result.pixels[i] = transparentIndex;
        }
    }
    return result;
}

bool putTransparency(GifFileType *gif)
{
    GraphicsControlBlock control{};
    control.DisposalMode = DISPOSAL_UNSPECIFIED;
    control.TransparentColor = transparentIndex;
    GifByteType bytes[4];
    const auto size = EGifGCBToExtension(&control, bytes);
    return EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(size), bytes) == GIF_OK;
}

bool putPicture(GifFileType *gif, Indexed &picture, int width, int height)
{
    const MapPointer map(GifMakeMapObject(paletteSize, picture.palette.data()));
    if (!map ||
        EGifPutScreenDesc(gif, width, height, colorResolutionBits, 0, map.get()) != GIF_OK ||
        (picture.transparent && !putTransparency(gif)) ||
        EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) != GIF_OK) {
        return false;
    }
    for (int y = 0; y < height; ++y) {
        GifByteType *line = picture.pixels.data() + static_cast<std::ptrdiff_t>(y) * width;
        if (EGifPutLine(gif, line, width) != GIF_OK) {
            return false;
        }
    }
    return true;
}

} // namespace

QByteArray encodeGif(const QImage &picture)
{
    if (picture.isNull() || picture.width() > largestSide || picture.height() > largestSide) {
        return {};
    }
    Indexed pixels = indexed(picture);
    if (pixels.pixels.empty()) {
        return {};
    }
    QByteArray bytes;
    GifPointer gif(EGifOpen(&bytes, appendBytes, nullptr));
    if (!gif) {
        return {};
    }
    EGifSetGifVersion(gif.get(), true);
    const bool complete = putPicture(gif.get(), pixels, picture.width(), picture.height());
    gif.reset(); // writes the trailer
    return complete ? bytes : QByteArray();
}

} // namespace qv
