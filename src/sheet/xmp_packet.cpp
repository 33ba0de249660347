#include "sheet/xmp_packet.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <exiv2/exiv2.hpp>

#include <functional>
#include <mutex>

// The library throws; nothing that it throws leaves this file.
namespace qv
{
namespace
{

constexpr int deepestElement = 24;

const char *const ourNamespace = "https://quorvantel.example/ns/sheet/1.0/";
const char *const ourPrefix = "qvsheet";
const char *const defaultLanguage = "x-default";
const QByteArray titleName = "dc.title";

void lockNamespaces(void *, bool lock)
{
    static std::recursive_mutex mutex;
    lock ? mutex.lock() : mutex.unlock();
}

bool prepareLibrary()
{
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    if (!Exiv2::XmpParser::initialize(lockNamespaces)) {
        return false;
    }
    Exiv2::XmpProperties::registerNs(ourNamespace, ourPrefix);
    return true;
}

// Runs the work alone, because the library keeps its parser's state in globals; what it throws
// becomes an error.
template <typename Value>
tl::expected<Value, QString> guarded(const std::function<tl::expected<Value, QString>()> &work)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> alone(mutex);
    try {
        static const bool isReady = prepareLibrary();
        return isReady ? work()
                       : tl::make_unexpected(QStringLiteral("the XMP library does not start"));
    } catch (const std::exception &error) {
        return tl::make_unexpected(QString::fromLocal8Bit(error.what()));
    }
}

Exiv2::XmpKey keyOf(const QByteArray &name)
{
    return Exiv2::XmpKey("Xmp." + name.toStdString());
}

// Values are built by hand: the library's readers of text take "lang=" and "type=" at its beginning
// for commands.
void add(Exiv2::XmpData &data, const QByteArray &name, const QString &text)
{
    const std::string bytes = xmpText(text).toStdString();
    if (name == titleName) {
        Exiv2::LangAltValue value;
        value.value_[defaultLanguage] = bytes;
        data.add(keyOf(name), &value);
        return;
    }
    Exiv2::XmpTextValue value;
    value.value_ = bytes;
    data.add(keyOf(name), &value);
}

std::optional<QString> plainText(const Exiv2::Value &value)
{
    if (const auto *text = dynamic_cast<const Exiv2::XmpTextValue *>(&value)) {
        return QString::fromStdString(text->value_);
    }
    if (const auto *title = dynamic_cast<const Exiv2::LangAltValue *>(&value)) {
        const auto found = title->value_.find(defaultLanguage);
        return found == title->value_.end() ? QString() : QString::fromStdString(found->second);
    }
    return std::nullopt;
}

// The library's parser goes down by recursion and expands entities, so it sees only shallow XML
// without a document type.
std::optional<QString> problemOf(const QString &xml)
{
    QXmlStreamReader reader(xml);
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > deepestElement) {
                return QStringLiteral("its metadata are nested too deeply");
            }
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::DTD:
            return QStringLiteral("its metadata declare a document type");
        default:
            break;
        }
    }
    return reader.hasError()
               ? std::optional(QStringLiteral("its metadata are no XML: ") + reader.errorString())
               : std::nullopt;
}

} // namespace

QString xmpText(const QString &text)
{
    QString clean;
    for (const char32_t c : text.toUcs4()) {
        const bool isHeld = c >= 0x20 && c != 0x7f && (c < 0xd800 || c > 0xdfff) && c < 0x10fffe &&
                            c != 0xfffe && c != 0xffff;
        clean += QChar::fromUcs4(isHeld ? c : U'\ufffd');
    }
    return clean;
}

tl::expected<QByteArray, QString> encodedXmp(const XmpTexts &texts)
{
    return guarded<QByteArray>([&]() -> tl::expected<QByteArray, QString> {
        Exiv2::XmpData data;
        for (auto it = texts.begin(); it != texts.end(); ++it) {
            add(data, it.key(), it.value());
        }
        std::string packet;
        const int failure = Exiv2::XmpParser::encode(packet, data);
        if (failure != 0 || packet.size() > static_cast<size_t>(xmpPacketLimit)) {
            return tl::make_unexpected(QStringLiteral("the metadata can't be encoded"));
        }
        return QByteArray::fromStdString(packet);
    });
}

tl::expected<XmpTexts, QString> decodedXmp(const QByteArray &packet)
{
    if (packet.size() > xmpPacketLimit) {
        return tl::make_unexpected(QStringLiteral("its metadata are too large"));
    }
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString xml = utf8.decode(packet);
    if (utf8.hasError() || packet.contains('\0')) {
        return tl::make_unexpected(QStringLiteral("its metadata are not valid UTF-8"));
    }
    if (const auto problem = problemOf(xml)) {
        return tl::make_unexpected(*problem);
    }
    return guarded<XmpTexts>([&]() -> tl::expected<XmpTexts, QString> {
        Exiv2::XmpData data;
        if (Exiv2::XmpParser::decode(data, packet.toStdString()) != 0) {
            return tl::make_unexpected(QStringLiteral("its metadata can't be read"));
        }
        XmpTexts texts;
        for (const Exiv2::Xmpdatum &datum : data) {
            if (const auto text = plainText(datum.value())) {
                texts.insert(QByteArray::fromStdString(datum.groupName() + '.' + datum.tagName()),
                             *text);
            }
        }
        return texts;
    });
}

tl::expected<QByteArray, QString> withXmp(const QByteArray &picture, const QByteArray &packet)
{
    return guarded<QByteArray>([&]() -> tl::expected<QByteArray, QString> {
        const auto image =
            Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(picture.constData()),
                                      static_cast<long>(picture.size()));
        image->readMetadata(); // else the colour profile would not be written again
        image->setXmpPacket(packet.toStdString());
        image->writeXmpFromPacket(true);
        image->writeMetadata();
        Exiv2::BasicIo &io = image->io();
        return QByteArray(reinterpret_cast<const char *>(io.mmap()),
                          static_cast<qsizetype>(io.size()));
    });
}

} // namespace qv
