#include "sheet/provenance.h"

#include "common/folder_test.h"
#include "sheet/picture_file.h"
#include "sheet/xmp_packet.h"

#include <QColorSpace>
#include <QtEndian>

#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::HasSubstr;

namespace qv
{

namespace
{

Provenance someProvenance()
{
    Provenance some;
    some.application = "Quorvantel";
    some.version = "1.0.0";
    some.made = QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC);
    some.title = "Holiday";
    some.sourceName = "Holiday.mp4";
    some.sourcePath = "/home/u/Videos/Holiday.mp4";
    some.source = {123456789012, QDateTime::fromMSecsSinceEpoch(1600000000007, Qt::UTC)};
    some.duration = 3599.04;
    some.settings = {
        "mixed", 12,  "png", {"name", "size"}, true, "1.00,1.00,1.00,1.00", "0.80,0.80,0.80,1.00",
        0.1,     true};
    some.instants = {0, 10, 299.92, 599.84};
    some.plannedInstants = {0, 10, 300, 600};
    return some;
}

// A picture file of nothing but the packet.
QByteArray jpegOf(const QByteArray &packet)
{
    const QByteArray body = QByteArray("http://ns.adobe.com/xap/1.0/\0", 29) + packet;
    QByteArray size(2, '\0');
    qToBigEndian(static_cast<quint16>(body.size() + 2), size.data());
    return "\xff\xd8\xff\xe1" + size + body + "\xff\xd9\xff\xd9";
}

QByteArray pngOf(const QByteArray &packet)
{
    const QByteArray body = QByteArray("XML:com.adobe.xmp\0\0\0\0\0", 22) + packet;
    QByteArray size(4, '\0');
    qToBigEndian(static_cast<quint32>(body.size()), size.data());
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + size + "iTXt" + body + QByteArray(8, '\0') + "IEND";
}

QByteArray rdf(const QByteArray &attributes, const QByteArray &content = {})
{
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
           "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
           "rdf:about='' xmlns:q='https://quorvantel.example/ns/sheet/1.0/' " +
           attributes + ">" + content + "</rdf:Description></rdf:RDF></x:xmpmeta>";
}

std::string problemOf(const tl::expected<Provenance, QString> &read)
{
    return read ? "none" : read.error().toStdString();
}

class ProvenanceFile : public FolderTest
{
protected:
    tl::expected<Provenance, QString> readFrom(const QByteArray &contents) const
    {
        const QString file = path("sheet");
        writeFile(file, contents);
        return readProvenance(QFile::encodeName(file));
    }
};

} // namespace

TEST(ProvenancePacket, HoldsWhateverASourceIsCalled)
{
    const struct {
        const char *what;
        QString name;
        QString read;
    } names[] = {{"plain", "a.mp4", {}},
                 {"markup", "<a href=\"x\">&amp;'%1%s</a>]]>.mp4", {}},
                 {"words that libraries obey", "type=Bag lang=\"fr\" x.mp4", {}},
                 {"blanks", "  a  b.mp4 ", {}},
                 {"other scripts", "\u0634\u202e\u4e2d\U0001f3ac.mp4", {}},
                 {"control characters", "a\n\t\x01\x7f.mp4", "a\ufffd\ufffd\ufffd\ufffd.mp4"},
                 {"half a character", QString(QChar(0xd83c)) + u'a', "\ufffda"}};
    for (const auto &[what, name, read] : names) {
        Provenance some = someProvenance();
        some.sourceName = some.title = name;
        some.sourcePath = "/a\n\xff%20/" + name.toUtf8();
        const auto back = provenanceIn(xmpPacket(some));
        some.sourceName = some.title = read.isNull() ? name : read;
        ASSERT_TRUE(back) << what << ": " << problemOf(back);
        EXPECT_EQ(back->sourceName.toStdString(), some.sourceName.toStdString()) << what;
        EXPECT_TRUE(*back == some) << what;
    }
}

TEST(ProvenancePacket, IsReadInTheFormsThatOtherProgramsGiveIt)
{
    const Provenance some = someProvenance();
    QByteArray packet = xmpPacket(some);
    const QByteArray attribute = "qvsheet:SourceName=\"Holiday.mp4\"";
    ASSERT_TRUE(packet.contains(attribute));
    packet.replace(attribute, "");
    const QByteArray end = "</rdf:Description>";
    for (const char *element :
         {"<qvsheet:SourceName>Holiday.mp4</qvsheet:SourceName>",
          "<q:SourceName xmlns:q='https://quorvantel.example/ns/sheet/1.0/'>Holiday<![CDATA[.mp4]]>"
          "</q:SourceName><more:a xmlns:more='m'><rdf:Bag><rdf:li>x</rdf:li></rdf:Bag></more:a>",
          "</rdf:Description><rdf:Description qvsheet:SourceName='Holiday.mp4' "
          "xmlns:qvsheet='https://quorvantel.example/ns/sheet/1.0/'>"}) {
        const auto read = provenanceIn(QByteArray(packet).replace(end, element + end));
        ASSERT_TRUE(read) << element << problemOf(read);
        EXPECT_TRUE(*read == some) << element;
    }
}

TEST(ProvenancePacket, HasRoomForTheLongestPathAndThousandsOfPictures)
{
    Provenance some = someProvenance();
    some.sourcePath = '/' + QByteArray(4000, '\xff');
    some.instants.clear();
    for (int i = 0; i < 3000; ++i) {
        some.instants.append(10000 + i + 0.125);
    }
    EXPECT_TRUE(provenanceIn(xmpPacket(some)) == some);
}

TEST_F(ProvenanceFile, PicturesCarryItWithTheirPixelsAndTheirProfileUntouched)
{
    QImage picture(64, 48, QImage::Format_ARGB32_Premultiplied);
    picture.fill(QColor(10, 200, 30));
    picture.setPixelColor(5, 5, Qt::red);
    picture.setColorSpace(QColorSpace(QColorSpace::SRgb));
    picture.setDotsPerMeterX(9843);
    const Provenance some = someProvenance();
    for (const char *name : {"a.jpg", "a.png"}) {
        ASSERT_TRUE(writePicture(picture, path("plain")) && writePicture(picture, path(name)));
        const QImage plain(path(name));
        ASSERT_TRUE(writePicture(picture, path(name), xmpPacket(some)));
        const QImage carrier(path(name));
        EXPECT_EQ(carrier, plain) << name;
        EXPECT_EQ(carrier.colorSpace(), QColorSpace(QColorSpace::SRgb)) << name;
        EXPECT_EQ(carrier.dotsPerMeterX(), plain.dotsPerMeterX()) << name;
        EXPECT_TRUE(readProvenance(QFile::encodeName(path(name))) == some) << name;
        EXPECT_THAT(contentOf(path(name)).toStdString(),
                    HasSubstr("SourceModified=\"2020-09-13T12:26:40.007Z\""));
    }
}

TEST_F(ProvenanceFile, WhatIsCutOffAnywhereGivesAReason)
{
    const QByteArray packet = xmpPacket(someProvenance());
    for (const QByteArray &whole : {jpegOf(packet), pngOf(packet)}) {
        ASSERT_TRUE(readFrom(whole)) << problemOf(readFrom(whole));
        const qsizetype end = whole.indexOf("<?xpacket end");
        for (qsizetype size = 0; size < end; size += size < 100 ? 1 : 97) {
            EXPECT_FALSE(readFrom(whole.left(size))) << size;
        }
    }
}

TEST_F(ProvenanceFile, HostilePacketsGiveAReason)
{
    const QByteArray ours = xmpPacket(someProvenance());
    const auto spoilt = [&](const char *good, const char *bad) {
        EXPECT_TRUE(ours.contains(good)) << good;
        return QByteArray(ours).replace(good, bad);
    };
    const struct {
        const char *reason;
        QByteArray packet;
    } cases[] = {
        {"no XML", "<x:xmpmeta"},
        {"document type", "<!DOCTYPE x [<!ENTITY a 'aaaaaaaa'><!ENTITY b '&a;&a;&a;'>]><x>&b;</x>"},
        {"no sheet", rdf("", QByteArray("<q:SourceName>").repeated(2000) +
                                 QByteArray("</q:SourceName>").repeated(2000))},
        {"not valid UTF-8", "<x a='\xff'/>"},
        {"not valid UTF-8", QByteArray("\xff\xfe<\0x\0/\0>\0", 10)},
        {"no sheet", rdf("")},
        {"no sheet", rdf("", "<q:SourceName><rdf:Bag><rdf:li>a</rdf:li></rdf:Bag></q:SourceName>")},
        {"CreateDate", rdf("q:SourceName='a'")},
        {"SourceSize", spoilt("SourceSize=\"1", "SourceSize=\"-1")},
        {"SourceSize", spoilt("SourceSize=\"1", "SourceSize=\"99999999999")},
        {"SourceModified", spoilt("SourceModified=\"2020-09", "SourceModified=\"2020-19")},
        {"SourceDuration", spoilt("SourceDuration=\"", "SourceDuration=\"nan")},
        {"SourceAddress", spoilt("file:///", "http://")},
        {"SourceMark", spoilt("SourceSize=", "SourceMark=\"/home\" qvsheet:SourceSize=")},
        {"Format", spoilt("Format=\"png", "Format=\"gif")},
        {"Road", spoilt("Road=\"exact", "Road=\"low")},
        {"Quick", spoilt("Quick=\"True", "Quick=\"1")},
        {"Instants", spoilt("Instants=\"0", "Instants=\"inf")},
        {"Instants", spoilt("Instants=\"0", "Instants=\"0 " + QByteArray("1 ").repeated(10001))}};
    for (const auto &[reason, packet] : cases) {
        EXPECT_THAT(problemOf(readFrom(jpegOf(packet))), HasSubstr(reason))
            << packet.left(300).constData();
        EXPECT_THAT(problemOf(readFrom(pngOf(packet))), HasSubstr(reason))
            << packet.left(300).constData();
    }
    EXPECT_THAT(problemOf(readFrom(pngOf(QByteArray(70000, ' ')))), HasSubstr("too large"));
}

TEST_F(ProvenanceFile, WhatIsNoSheetGivesAReasonAndNobodyWaits)
{
    const QImage picture = emptyBitmap(8, 8, 0, false);
    ASSERT_TRUE(writePicture(picture, path("plain.jpg")));
    ASSERT_TRUE(writePicture(picture, path("plain.png")));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("fifo")).constData(), 0600), 0);
    QDir().mkpath(path("folder"));
    writeFile(path("notes.txt"), "no picture");
    writeFile(path("endless.jpg"), "\xff\xd8" + QByteArray("\xff\xe0\0\2", 4).repeated(100000));
    const std::pair<const char *, const char *> files[] = {
        {"plain.jpg", "no metadata"},  {"plain.png", "no metadata"},  {"fifo", "no file"},
        {"folder", "directory"},       {"notes.txt", "neither JPEG"}, {"missing", "No such file"},
        {"endless.jpg", "no metadata"}};
    for (const auto &[name, reason] : files) {
        EXPECT_THAT(problemOf(readProvenance(QFile::encodeName(path(name)))), HasSubstr(reason))
            << name;
    }
}

} // namespace qv
