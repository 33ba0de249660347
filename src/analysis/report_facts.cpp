#include "analysis/report_facts.h"

#include "analysis/report_text.h"
#include "support/files.h"
#include "support/numbers.h"

#include <QRegularExpression>

namespace qv
{
namespace
{

// Walks the lines of an input section; what follows a stream's line speaks of that stream.
class FactsReader
{
public:
    void take(const QString &line)
    {
        if (has(line, "Input #0, ")) {
            m_facts = ReportFacts();
            m_isInput = true;
        } else if (has(line, "Output #0, ")) {
            m_isInput = false;
        } else if (has(line, " -> #0:0")) {
            takeMapping(line);
        } else if (m_isInput) {
            takeInput(line);
        }
    }
    const ReportFacts &facts() const { return m_facts; }

private:
    //   Stream #0:1 -> #0:0 (h264 (native) -> wrapped_avframe (native))
    void takeMapping(const QString &line)
    {
        static const QRegularExpression mapping(QStringLiteral("Stream #0:(\\d+) -> #0:0"));
        const QRegularExpressionMatch match = mapping.match(line);
        if (match.hasMatch() && !m_facts.picked) {
            m_facts.picked = intValue(match.captured(1));
        }
    }

    void takeInput(const QString &line)
    {
        if (has(line, "Stream #")) {
            takeStream(line);
        } else if (has(line, "displaymatrix: rotation of ")) {
            setTurn(after(line, QLatin1String("rotation of ")), true);
        } else if (isRotateTag(line)) {
            setTurn(line.section(u':', 1), false);
        }
    }

    //   Stream #0:2[0x0](eng): Video: mjpeg (Baseline), ..., 90k tbn (attached pic)
    void takeStream(const QString &line)
    {
        m_stream = intValue(after(line, QLatin1String(":")));
        m_isVideo = has(line, "Video: ");
        if (m_isVideo && has(line, "(attached pic)")) {
            m_facts.covers.insert(m_stream);
        }
    }

    //       rotate          : 90
    static bool isRotateTag(const QString &line)
    {
        return line.section(u':', 0, 0).trimmed() == QLatin1String("rotate");
    }

    void setTurn(const QString &degrees, bool byMatrix)
    {
        const bool isBetter = byMatrix || !m_facts.turns.contains(m_stream);
        if (m_isVideo && isBetter) {
            m_facts.turns.insert(m_stream, {doubleValue(degrees), byMatrix});
        }
    }

    ReportFacts m_facts;
    int m_stream = -1;
    bool m_isVideo = false;
    bool m_isInput = false;
};

} // namespace

ReportFacts reportFacts(const QString &report)
{
    FactsReader reader;
    for (const QString &line : linesOf(report)) {
        reader.take(line);
    }
    return reader.facts();
}

} // namespace qv
