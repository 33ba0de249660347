#include "published/image_encoders.h"

#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

namespace qv
{

namespace
{

constexpr OPJ_UINT32 components = 3;
constexpr OPJ_UINT32 bitsPerComponent = 8;
constexpr std::size_t streamChunk = 1U << 20U;

struct ImageDeleter {
    void operator()(opj_image_t *image) const { opj_image_destroy(image); }
};
using ImagePointer = std::unique_ptr<opj_image_t, ImageDeleter>;

struct CodecDeleter {
    void operator()(opj_codec_t *codec) const { opj_destroy_codec(codec); }
};
using CodecPointer = std::unique_ptr<opj_codec_t, CodecDeleter>;

struct StreamDeleter {
    void operator()(opj_stream_t *stream) const { opj_stream_destroy(stream); }
};
using StreamPointer = std::unique_ptr<opj_stream_t, StreamDeleter>;

// The file in memory. The encoder goes back to fill in box lengths, so it must be seekable.
struct Output {
    QByteArray bytes;
    qsizetype position = 0;

    bool moveTo(qsizetype target)
    {
        if (target < 0) {
            return false;
        }
        if (target > bytes.size()) {
            bytes.append(target - bytes.size(), '\0');
        }
        position = target;
        return true;
    }
};

OPJ_SIZE_T writeBytes(void *data, OPJ_SIZE_T count, void *user)
{
    Output &output = *static_cast<Output *>(user);
    const qsizetype start = output.position;
    if (!output.moveTo(start + static_cast<qsizetype>(count))) {
        return static_cast<OPJ_SIZE_T>(-1);
    }
    std::memcpy(output.bytes.data() + start, data, count);
    return count;
}

OPJ_OFF_T skipBytes(OPJ_OFF_T count, void *user)
{
    Output &output = *static_cast<Output *>(user);
    return output.moveTo(output.position + count) ? count : -1;
}

OPJ_BOOL seekBytes(OPJ_OFF_T target, void *user)
{
    return static_cast<Output *>(user)->moveTo(target) ? OPJ_TRUE : OPJ_FALSE;
}

ImagePointer codecImage(const QImage &picture)
{
    const auto width = static_cast<OPJ_UINT32>(picture.width());
    const auto height = static_cast<OPJ_UINT32>(picture.height());
    std::array<opj_image_cmptparm_t, components> parameters{};
    for (opj_image_cmptparm_t &parameter : parameters) {
        parameter.dx = 1;
        parameter.dy = 1;
        parameter.w = width;
        parameter.h = height;
        parameter.prec = bitsPerComponent;
    }
    ImagePointer image(opj_image_create(components, parameters.data(), OPJ_CLRSPC_SRGB));
    if (image) {
        image->x1 = width;
        image->y1 = height;
    }
    return image;
}

void fillPixels(opj_image_t &image, const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(QImage::Format_RGB32);
    std::size_t at = 0;
    for (int y = 0; y < pixels.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(pixels.constScanLine(y));
        for (int x = 0; x < pixels.width(); ++x, ++at) {
            image.comps[0].data[at] = qRed(line[x]);
            image.comps[1].data[at] = qGreen(line[x]);
            image.comps[2].data[at] = qBlue(line[x]);
        }
    }
}

opj_cparameters_t losslessParameters(int width, int height)
{
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.tcp_rates[0] = 0;
    parameters.cp_disto_alloc = 1;
    parameters.tcp_mct = 1;
    // Each resolution halves the picture; the smallest must keep one pixel.
    const auto shorter = static_cast<unsigned>(std::min(width, height));
    parameters.numresolution =
        std::min(parameters.numresolution, static_cast<int>(std::bit_width(shorter)));
    return parameters;
}

StreamPointer streamInto(Output &output)
{
    StreamPointer stream(opj_stream_create(streamChunk, OPJ_FALSE));
    if (stream) {
        opj_stream_set_user_data(stream.get(), &output, nullptr);
        opj_stream_set_write_function(stream.get(), writeBytes);
        opj_stream_set_skip_function(stream.get(), skipBytes);
        opj_stream_set_seek_function(stream.get(), seekBytes);
    }
    return stream;
}

bool compress(opj_image_t *image, opj_cparameters_t &parameters, Output &output)
{
    const CodecPointer codec(opj_create_compress(OPJ_CODEC_JP2));
    const StreamPointer stream = streamInto(output);
    return codec && stream && opj_setup_encoder(codec.get(), &parameters, image) == OPJ_TRUE &&
           opj_start_compress(codec.get(), image, stream.get()) == OPJ_TRUE &&
           opj_encode(codec.get(), stream.get()) == OPJ_TRUE &&
           opj_end_compress(codec.get(), stream.get()) == OPJ_TRUE;
}

} // namespace

QByteArray encodeJpeg2000(const QImage &picture)
{
    if (picture.isNull()) {
        return {};
    }
    const ImagePointer image = codecImage(picture);
    if (!image) {
        return {};
    }
    fillPixels(*image, picture);
    opj_cparameters_t parameters = losslessParameters(picture.width(), picture.height());
    Output output;
    return compress(image.get(), parameters, output) ? output.bytes : QByteArray();
}

} // namespace qv
