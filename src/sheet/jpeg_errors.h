#pragma once

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

// Errors of the JPEG library jump back to where its user called setjmp, so nothing in between may
// own anything.
namespace qv
{

struct JpegErrors {
    jpeg_error_mgr base;
    jmp_buf leave;
};

// For the codec's `err`; the library prints nothing.
inline jpeg_error_mgr *jumpingErrors(JpegErrors &errors)
{
    jpeg_error_mgr *base = jpeg_std_error(&errors.base);
    base->error_exit = [](j_common_ptr codec) {
        longjmp(reinterpret_cast<JpegErrors *>(codec->err)->leave, 1);
    };
    base->output_message = [](j_common_ptr) {};
    return base;
}

} // namespace qv
