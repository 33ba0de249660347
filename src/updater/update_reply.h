#pragma once

#include <QString>
#include <QVariantMap>

// What the update service answers: records of "<key>name</key><value>text</value>". The names that
// count are "version", "systemVersionMin", "dlPath" and "signature".
namespace qv
{

// Whether the text holds each of the four marks at least once.
bool isUpdateReply(const QString &text);
// The records by name; of those with one name the last. A value without end reaches to the next
// record, a record without name or value is left out.
QVariantMap parseUpdateReply(const QString &text);

// Versions are decimal numbers in single precision: 1.9 is newer than 1.10, and 1.0.1 equals 1.0.
// A missing one is 0.
float versionNumber(const QString &version);
bool isNewerVersion(const QString &version, const QString &running);
// Whether the reply tells of a newer version that runs on a system of this version.
bool offersNewerVersion(const QVariantMap &reply, const QString &running, float systemVersion);
// The version as a decimal number for people: "1.0", "2.31".
QString shownVersionNumber(const QString &version);

} // namespace qv
