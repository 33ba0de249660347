#pragma once

#include "sheet/provenance.h"

#include <QString>

// Whose sheet a file is. A sheet is kept or replaced for its own source only. Any thread.
namespace qv
{

// What is at a sheet's path.
struct PlaceContent {
    enum class Kind { Nothing, Sheet, Unknown };
    Kind kind = Kind::Nothing;
    SheetSource source; // of a sheet
    QString what;       // of something unknown, for people: "a folder"

    bool isNothing() const { return kind == Kind::Nothing; }
    bool isSheet() const { return kind == Kind::Sheet; }
};
PlaceContent placeContent(const QString &path);

// "the sheet of /clips/a.mp4", "a folder"; null for nothing.
QString contentText(const PlaceContent &content);
// The path, or else the name, of the source that a sheet is of, for people.
QString ownerText(const SheetSource &source);

// Whether a sheet is of a source.
enum class Claim {
    None,
    Moved, // the source's name, size and time are the sheet's, and its old path leads to no other
    Own,   // the source's path is the sheet's
};
// `sourcePath` is one that can be opened.
Claim claimOn(const PlaceContent &content, const QString &sourcePath);

} // namespace qv
