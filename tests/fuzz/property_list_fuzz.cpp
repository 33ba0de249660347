#include "fuzz_input.h"

#include "support/property_list.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto value = parsePropertyList(fuzz::bytes(data, size));
    if (value) {
        const auto xml = propertyListXml(*value);
        fuzz::require(!xml || parsePropertyList(*xml).has_value(), "what is written can be read");
    }
    return 0;
}
