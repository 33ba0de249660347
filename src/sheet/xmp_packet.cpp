#include "sheet/xmp_packet.h"

#include <exiv2/exiv2.hpp>

#include <functional>
#include <mutex>

// What writes XMP, with the library. It throws; nothing that it throws leaves this file.
namespace qv
{
namespace
{

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
    Exiv2::XmpProperties::registerNs(sheetNamespace, sheetPrefix);
    return true;
}

// Runs the work alone, because the library keeps its parser's state in globals; what it throws
// becomes an error.
tl::expected<QByteArray, QString>
guarded(const std::function<tl::expected<QByteArray, QString>()> &work)
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
    return guarded([&]() -> tl::expected<QByteArray, QString> {
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

tl::expected<QByteArray, QString> withXmp(const QByteArray &picture, const QByteArray &packet)
{
    return guarded([&]() -> tl::expected<QByteArray, QString> {
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
