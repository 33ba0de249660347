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

// A process that is killed just while it brings a sheet to its place may leave a hidden file beside
// it. Removes those that are an hour old.
void removeForgottenDeliveries(const QString &folder);

} // namespace qv
