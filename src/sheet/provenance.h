#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

// What a sheet tells of itself, in its file.
namespace qv
{

// What tells whether a file is still the one that was looked at.
struct SourceState {
    qint64 size = -1;   // bytes; -1: unknown
    QDateTime modified; // UTC, to the millisecond

    friend bool operator==(const SourceState &, const SourceState &) = default;
};
// Of the file that the path leads to now.
SourceState sourceState(const QString &path);

// The settings that shape a sheet.
struct SheetSettings {
    QString layout;       // layoutName
    int count = 0;        // pictures asked for, in whole rows
    QString format;       // "jpg" or "png"
    QStringList captions; // CaptionSwitch::word of each that is shown
    bool timecodes = false;
    QString background; // colour texts of the preferences; empty: none that can be read
    QString borderColor;
    double borderSize = 0; // points
    bool quick = false;    // key pictures were wished

    friend bool operator==(const SheetSettings &, const SheetSettings &) = default;
};

struct Provenance {
    QString application;
    QString version;
    QDateTime made; // UTC
    QString title;
    QString sourceName;
    QByteArray sourcePath; // as the system has it; empty when it is left out
    QByteArray sourceMark; // pathMark() of a path that is left out; empty otherwise
    SourceState source;
    double duration = 0; // of the source, seconds
    SheetSettings settings;
    bool madeQuick = false;        // of key pictures, as the stamps tell
    QList<double> instants;        // of the pictures, seconds: what the stamps say
    QList<double> plannedInstants; // what was asked for; empty in sheets of older versions

    friend bool operator==(const Provenance &, const Provenance &) = default;
};

// As an XMP packet: empty when it can't be encoded (logged).
QByteArray xmpPacket(const Provenance &provenance);

// What the sheet of this file name (as the system has it) tells, or why it tells nothing.
tl::expected<Provenance, QString> readProvenance(const QByteArray &sheet);
// What a packet from anywhere tells.
tl::expected<Provenance, QString> provenanceIn(const QByteArray &packet);

// Which source a sheet is of, as its file says.
struct SheetSource {
    QString name;
    QByteArray path; // as the system has it; empty when it is left out
    QByteArray mark; // pathMark() of a path that is left out
    SourceState state;
};
// A sheet whose other properties are unusable still says this.
tl::expected<SheetSource, QString> readSheetSource(const QByteArray &sheet);

// Hexadecimal digits, two for each of the bytes, that depend on the path only. They recognise a
// source by its path without saying what the path is.
QByteArray pathMark(const QByteArray &path, int bytes = 4);

// "quick" or "exact".
QString roadName(bool isQuick);

} // namespace qv
