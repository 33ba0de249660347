#include "fuzz_input.h"

#include "support/camcorder_playlist.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (const QByteArray &line : clipMarks(fuzz::bytes(data, size))) {
        const qsizetype separator = line.indexOf(" : clip-20");
        fuzz::require(separator == 5 || separator == 6, "a line begins with a clip number");
        fuzz::require(line.indexOf('\n') == separator + 27, "a line ends after the seconds");
    }
    return 0;
}
