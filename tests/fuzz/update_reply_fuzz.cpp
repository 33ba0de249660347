#include "fuzz_input.h"

#include "support/variant_values.h"
#include "updater/archive/application_archive.h"
#include "updater/update_reply.h"
#include "updater/update_service.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = fuzz::text(data, size);
    const QVariantMap reply = parseUpdateReply(text);
    for (auto it = reply.begin(); it != reply.end(); ++it) {
        fuzz::require(!it.key().contains("</key>") && !it.key().contains("<key>"),
                      "a name is plain");
        fuzz::require(!it->toString().contains("</value>"), "a value ends at its mark");
    }
    offersNewerVersion(reply, QStringLiteral("1.0"), 6.01F);
    const QString path = stringIn(reply, QStringLiteral("dlPath"));
    const UpdateService service{Bundle(QString())};
    const QString name = archiveName(service.downloadAddress(path));
    fuzz::require(!name.contains(u'/') && name != "." && name != "..",
                  "a name stays in its folder");
    return 0;
}
