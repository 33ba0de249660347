#pragma once

#include <QString>

#include <tl/expected.hpp>

// A finished sheet is brought to its place in one step: whoever looks there sees the old file or
// the whole new one, never a part, whatever stops this process meanwhile.
namespace qv
{

enum class Existing { Keep, Replace };

struct DeliveryFailure {
    bool kept = false; // a file of that name stands there and was to be kept
    QString reason;
};

using Delivery = tl::expected<void, DeliveryFailure>;
// Copies the file into the destination's folder under no name, then gives it its name.
Delivery deliverSheet(const QString &file, const QString &destination, Existing existing);

// A source's sheet on its way. What is at its place meanwhile is looked at again.
struct SheetDelivery {
    QString file;
    QString sheet;            // where it goes
    QString source;           // a path that can be opened
    bool replacesOwn = false; // a sheet of this source
    bool replacesAny = false; // any file, because the user has agreed
};
enum class DeliveryEnd { Done, OwnIsThere, OthersIsThere, Failed };
struct DeliveryResult {
    DeliveryEnd end = DeliveryEnd::Failed;
    QString reason; // of a failure
};
DeliveryResult deliverSheet(const SheetDelivery &delivery);

// Makes the folder when missing, and tries to write there. The error is the system's.
tl::expected<void, QString> prepareSheetFolder(const QString &folder);

// A process that is killed just while it delivers a sheet may leave a hidden file beside it.
// Removes those whose process has ended: at once those of this machine, by their locks; those of
// other machines, whose locks may not be visible here, when they are an hour old as well.
void removeForgottenDeliveries(const QString &folder);

} // namespace qv
