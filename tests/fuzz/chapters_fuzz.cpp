#include "fuzz_input.h"

#include "analysis/ffmpeg_probes.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto chapters = ffChapters(fuzz::text(data, size));
    fuzz::require(!chapters || !chapters->isEmpty(), "chapters are nothing or some");
    return 0;
}
