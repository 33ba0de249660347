#include "thumbs/picture_writer.h"

#include "sheet/jpeg_errors.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include <png.h>

namespace qv
{
namespace
{

using Bytes = std::vector<std::uint8_t>;

// Nothing in this function may own anything.
bool compress(const Picture &picture, unsigned char *&bytes, unsigned long &size)
{
    jpeg_compress_struct codec;
    JpegErrors errors;
    codec.err = jumpingErrors(errors);
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_compress(&codec);
        return false;
    }
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &bytes, &size);
    codec.image_width = static_cast<JDIMENSION>(picture.width);
    codec.image_height = static_cast<JDIMENSION>(picture.height);
    codec.input_components = static_cast<int>(picture.pixelSize());
    codec.in_color_space = picture.order == Picture::Pixels::Rgb ? JCS_RGB : JCS_EXT_BGRX;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 100, TRUE);
    codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor =
        picture.hasFineColours ? 1 : 2;
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW line = const_cast<JSAMPROW>(picture.row(static_cast<int>(codec.next_scanline)));
        jpeg_write_scanlines(&codec, &line, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    return true;
}

Bytes jpegOf(const Picture &picture)
{
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
    if (!compress(picture, bytes, size)) {
        return {};
    }
    const Bytes jpeg(bytes, bytes + size);
    std::free(bytes);
    return jpeg;
}

Picture withoutFiller(const Picture &picture)
{
    Picture plain{picture.width, picture.height, {}};
    plain.pixels.reserve(plain.stride() * static_cast<std::size_t>(plain.height));
    for (std::size_t at = 0; at + 4 <= picture.pixels.size(); at += 4) {
        const std::uint8_t *pixel = picture.pixels.data() + at;
        plain.pixels.insert(plain.pixels.end(), {pixel[2], pixel[1], pixel[0]});
    }
    return plain;
}

Bytes pngOf(const Picture &picture)
{
    if (picture.order == Picture::Pixels::Bgrx) {
        return pngOf(withoutFiller(picture));
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    Bytes png(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = png.size();
    if (png_image_write_to_memory(&image, png.data(), &size, 0, picture.pixels.data(), 0,
                                  nullptr) == 0) {
        return {};
    }
    png.resize(size);
    return png;
}

bool namesPng(const std::string &path)
{
    std::string end = path.substr(path.size() - std::min<std::size_t>(4, path.size()));
    std::transform(end.begin(), end.end(), end.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return end == ".png";
}

bool writeAll(int file, const Bytes &bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = ::write(file, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno != EINTR) {
            return false;
        }
        done += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    return true;
}

} // namespace

std::string writePicture(const Picture &picture, const std::string &path, bool overwrite)
{
    const Bytes bytes = namesPng(path) ? pngOf(picture) : jpegOf(picture);
    if (bytes.empty()) {
        return "the picture can't be encoded";
    }
    const int mode = overwrite ? O_TRUNC : O_EXCL;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | mode, 0666);
    if (file < 0) {
        return std::strerror(errno);
    }
    int problem = writeAll(file, bytes) ? 0 : errno;
    if (::close(file) != 0 && problem == 0) {
        problem = errno;
    }
    if (problem == 0) {
        return {};
    }
    ::unlink(path.c_str());
    return std::strerror(problem);
}

} // namespace qv
