#include "cli/read_command.h"

#include "cli/exit_status.h"
#include "cli/results.h"

namespace qv
{

int runReadCommand(const Options &options, const Streams &streams, const QByteArrayList &sheets)
{
    int status = AllDone;
    bool first = true;
    for (const QByteArray &file : sheets) {
        const QString name = QString::fromUtf8(file);
        const auto provenance = readProvenance(file);
        if (!provenance) {
            status = SomeFailed;
            streams.message(QStringLiteral("skipped: %1: %2").arg(name, provenance.error()));
        } else if (options.json) {
            streams.out(jsonLine(provenanceJson(name, *provenance)) + '\n');
        } else {
            const QString gap = std::exchange(first, false) ? QString() : QStringLiteral("\n");
            streams.out((gap + provenanceText(name, *provenance)).toUtf8());
        }
    }
    return status;
}

} // namespace qv
