#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <tl/expected.hpp>

// XMP: named texts in a packet of XML, and the packet in a picture's file. Any thread.
namespace qv
{

// By their prefixed names: "dc.title", "xmp.CreatorTool", "qvsheet.Layout". Titles are the text of
// the default language.
using XmpTexts = QMap<QByteArray, QString>;

constexpr char sheetNamespace[] = "https://quorvantel.example/ns/sheet/1.0/";
constexpr char sheetPrefix[] = "qvsheet";

// A JPEG segment holds no more, so no packet of ours is larger.
constexpr qsizetype xmpPacketLimit = 65000;

// The text as a packet carries it: characters that XML can't hold are replaced.
QString xmpText(const QString &text);

// The packet, or the reason why it can't be made.
tl::expected<QByteArray, QString> encodedXmp(const XmpTexts &texts);

// What a packet from anywhere says in plain texts of those three kinds; lists and structures are
// left out. The error says what is wrong with the packet.
tl::expected<XmpTexts, QString> decodedXmp(const QByteArray &packet);

// An encoded JPEG or PNG picture with the packet in it, its pixels untouched; or why it can't be.
tl::expected<QByteArray, QString> withXmp(const QByteArray &picture, const QByteArray &packet);

// The packet in a JPEG or PNG file, found without reading pixels; or the reason why it has no
// packet. `file` is the name as the system has it.
tl::expected<QByteArray, QString> xmpPacketIn(const QByteArray &file);

} // namespace qv
