#include "fuzz_input.h"

#include "analysis/stream_offsets.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto offsets = ptsDtsOffsetMs(fuzz::text(data, size));
    if (offsets) {
        fuzz::require(offsets->value(QStringLiteral("v_offsetMs"), -1).toInt() >= 0,
                      "no stream is earlier than the earliest");
    }
    return 0;
}
