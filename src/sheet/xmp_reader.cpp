// Packets come from anywhere. The library's parser goes down by recursion, keeps every namespace
// that it meets, and obeys texts that begin with "type="; plain texts need none of that.

#include "sheet/xmp_packet.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <vector>

namespace qv
{
namespace
{

const QString rdfNamespace = QStringLiteral("http://www.w3.org/1999/02/22-rdf-syntax-ns#");
const QString xmlNamespace = QStringLiteral("http://www.w3.org/XML/1998/namespace");

struct Vocabulary {
    QLatin1String address;
    QByteArray prefix;
};
const Vocabulary vocabularies[] = {
    {QLatin1String("http://purl.org/dc/elements/1.1/"), "dc"},
    {QLatin1String("http://ns.adobe.com/xap/1.0/"), "xmp"},
    {QLatin1String(sheetNamespace), sheetPrefix},
};

// Empty for what nobody here asks for.
QByteArray prefixedName(QStringView address, QStringView name)
{
    for (const Vocabulary &vocabulary : vocabularies) {
        if (address == vocabulary.address) {
            return vocabulary.prefix + '.' + name.toUtf8();
        }
    }
    return {};
}

// A property is an attribute of a description or an element in it; that element holds a text, or
// texts by language, one of which is for all others.
class PacketReader
{
public:
    explicit PacketReader(const QString &xml) : m_xml(xml) {}

    tl::expected<XmpTexts, QString> read()
    {
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType token = m_xml.readNext();
            if (token == QXmlStreamReader::DTD) {
                return tl::make_unexpected(QStringLiteral("its metadata declare a document type"));
            }
            take(token);
        }
        if (m_xml.hasError()) {
            return tl::make_unexpected(QStringLiteral("its metadata are no XML: ") +
                                       m_xml.errorString());
        }
        return m_texts;
    }

private:
    enum class Part { Outside, Description, Property, Within, DefaultText };

    void take(QXmlStreamReader::TokenType token)
    {
        if (token == QXmlStreamReader::StartElement) {
            begin();
        } else if (token == QXmlStreamReader::Characters) {
            m_text += m_xml.text();
        } else if (token == QXmlStreamReader::EndElement) {
            end();
        }
    }

    void begin()
    {
        const Part part = partBegun();
        m_open.push_back(part);
        m_text.clear();
        m_isPlain = part == Part::Property;
        if (part == Part::Description) {
            takeAttributes();
        } else if (part == Part::Property) {
            m_property = prefixedName(m_xml.namespaceUri(), m_xml.name());
        }
    }

    void end()
    {
        const Part part = m_open.back();
        m_open.pop_back();
        if (part == Part::DefaultText || (part == Part::Property && m_isPlain)) {
            put(m_property, m_text);
        }
    }

    Part partBegun() const
    {
        switch (m_open.empty() ? Part::Outside : m_open.back()) {
        case Part::Outside:
            return isRdf(u"Description") ? Part::Description : Part::Outside;
        case Part::Description:
            return Part::Property;
        default:
            return isDefaultText() ? Part::DefaultText : Part::Within;
        }
    }

    bool isRdf(QStringView name) const
    {
        return m_xml.namespaceUri() == rdfNamespace && m_xml.name() == name;
    }

    bool isDefaultText() const
    {
        return isRdf(u"li") &&
               m_xml.attributes().value(xmlNamespace, QStringLiteral("lang")) == u"x-default";
    }

    void takeAttributes()
    {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        for (const QXmlStreamAttribute &attribute : attributes) {
            put(prefixedName(attribute.namespaceUri(), attribute.name()),
                attribute.value().toString());
        }
    }

    void put(const QByteArray &name, const QString &text)
    {
        if (!name.isEmpty()) {
            m_texts.insert(name, text);
        }
    }

    QXmlStreamReader m_xml;
    std::vector<Part> m_open;
    QByteArray m_property;  // that is open
    bool m_isPlain = false; // and has held no element
    QString m_text;         // since the last element began
    XmpTexts m_texts;
};

} // namespace

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
    return PacketReader(xml).read();
}

} // namespace qv
