#include "fuzz_input.h"

#include "sheet/provenance.h"
#include "sheet/xmp_packet.h"

#include <cmath>
#include <sys/mman.h>
#include <unistd.h>

using namespace qv;

namespace
{

void check(const tl::expected<Provenance, QString> &read)
{
    if (!read) {
        fuzz::require(!read.error().isEmpty(), "a failure has a reason");
        return;
    }
    fuzz::require(read->source.size >= 0, "a size is not negative");
    fuzz::require(read->source.modified.isValid() && read->made.isValid(), "dates are valid");
    fuzz::require(std::isfinite(read->duration) && read->duration >= 0, "durations are numbers");
    for (const double instant : read->instants) {
        fuzz::require(std::isfinite(instant), "instants are numbers");
    }
    // What grows beyond a packet's limit by being escaped is refused, not cut.
    const QByteArray again = xmpPacket(*read);
    fuzz::require(again.isEmpty() || provenanceIn(again).has_value(),
                  "what was read can be written and read again");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int file = ::memfd_create("sheet", MFD_CLOEXEC);
    static const QByteArray name = "/proc/self/fd/" + QByteArray::number(file);
    fuzz::require(::ftruncate(file, 0) == 0 &&
                      ::pwrite(file, data, size, 0) == static_cast<ssize_t>(size),
                  "the input is written");
    check(readProvenance(name));
    check(provenanceIn(fuzz::bytes(data, size)));
    return 0;
}
