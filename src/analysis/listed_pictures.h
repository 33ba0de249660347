#pragma once

#include <QList>
#include <QString>

#include <optional>

// What a source's container lists of its pictures, by the quick tool's probe.
namespace qv
{

enum class Groups { Unknown, Closed, Open };

// Instants are seconds from the source's start, good to two frames.
struct ListedPictures {
    QList<float> keys;    // in order; empty when unknown, or too many
    bool isWhole = false; // every picture is listed; else some key pictures may be missing
    Groups groups = Groups::Unknown; // that begin with the key pictures
    std::optional<double> last;      // of all pictures

    // The position among the keys of the first one at or behind the instant. Nothing when there may
    // be others near it that are not listed.
    std::optional<qsizetype> keyBehind(double instant) const;
    // That key picture and the seconds up to the one behind it. Nothing when it is not known, or
    // when a seek might miss it, so short are the seconds.
    struct Key {
        double instant = 0;
        double length = 0;
    };
    std::optional<Key> nextKey(double instant) const;
};

// From the report of the probe.
ListedPictures listedPictures(const QString &report);

} // namespace qv
