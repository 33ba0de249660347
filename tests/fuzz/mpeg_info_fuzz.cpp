#include "fuzz_input.h"

#include "analysis/mpeg_info_dico.h"

#include <QBuffer>

#include <cmath>

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes = fuzz::bytes(data, size);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    mpegInfo reader;
    if (reader.readInformations(buffer, size).isNull()) {
        const MediaInfoRecord record = mpegRecord(reader);
        const double seconds = record.value(QStringLiteral("w_duration"), 0).toDouble();
        fuzz::require(std::isfinite(seconds) && seconds >= 0, "the duration is a time");
        fuzz::require(record.contains(QStringLiteral("wrapper")), "there is a wrapper");
    }
    return 0;
}
