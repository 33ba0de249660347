#include "cli/read_command.h"

#include "cli/exit_status.h"
#include "cli/results.h"

namespace qv
{

int runReadCommand(const Options &options, const Streams &streams, const QByteArrayList &sheets)
{
    int status = AllDone;
    bool first = true;
    for (const QByteArray &sheet : sheets) {
        const auto provenance = readProvenance(sheet);
        if (!provenance) {
            status = SomeFailed;
            streams.message(QStringLiteral("skipped: %1: %2")
                                .arg(QString::fromUtf8(sheet), provenance.error()));
        }
        if (options.json) {
            streams.out(jsonLine(provenanceJson(sheet, provenance)) + '\n');
        } else if (provenance) {
            const QString gap = std::exchange(first, false) ? QString() : QStringLiteral("\n");
            streams.out((gap + provenanceText(sheet, *provenance)).toUtf8());
        }
    }
    return status;
}

} // namespace qv
