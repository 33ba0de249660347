#include "cli/progress_line.h"

#include "cli/columns.h"

#include <algorithm>

namespace qv
{
namespace
{

// An estimate from less than this share of the work would jump about.
constexpr double estimableShare = 0.01;

// "about 1 min 20 s left".
QString remainingText(double seconds)
{
    const auto whole = static_cast<qint64>(std::clamp(seconds, 0.0, 1e9));
    if (whole < 60) {
        return QStringLiteral("about %1 s left").arg(whole);
    }
    if (whole < 3600) {
        return QStringLiteral("about %1 min %2 s left").arg(whole / 60).arg(whole % 60);
    }
    return QStringLiteral("about %1 h %2 min left").arg(whole / 3600).arg(whole / 60 % 60);
}

} // namespace

ProgressLine::ProgressLine(const Streams &streams, bool wanted, int total)
    : m_streams(streams), m_active(wanted && streams.errIsTerminal), m_total(total)
{
    m_clock.start();
}

void ProgressLine::source(int number, const QString &name)
{
    m_shownNumber = number;
    m_done = number - 1;
    m_name = visibleText(name);
    m_caption.clear();
    m_part = 0;
    show();
}

void ProgressLine::sources(int done, const QStringList &names)
{
    m_shownNumber = done;
    m_done = done;
    m_name = visibleText(names.join(QStringLiteral(", ")));
    m_caption.clear();
    m_part = 0;
    show();
}

void ProgressLine::step(const QString &caption, double part)
{
    if (caption == m_caption && part <= m_part) {
        return;
    }
    m_caption = caption;
    m_part = std::clamp(part, 0.0, 1.0);
    show();
}

void ProgressLine::passed(double seconds)
{
    ++m_passed;
    m_passedSeconds += seconds;
}

void ProgressLine::show()
{
    if (!m_active) {
        return;
    }
    const QString line = QStringLiteral("[%1/%2] %3")
                             .arg(QString::number(m_shownNumber), QString::number(m_total), m_name);
    QString tail = m_caption.isEmpty() ? QString() : QStringLiteral(": ") + m_caption.toLower();
    tail += timeLeft();
    const int room = std::max(8, m_streams.terminalColumns - columnsOf(tail) - 1);
    m_streams.err(("\r" + cutToColumns(line, room) + tail).toUtf8() + "\033[K");
    m_shown = true;
}

QString ProgressLine::timeLeft() const
{
    const double made = m_done + m_part - m_passed;
    const double left = m_total - m_done - m_part;
    if (made <= 0 || made < estimableShare * (made + left)) {
        return {};
    }
    const double elapsed = static_cast<double>(m_clock.elapsed()) / 1000 - m_passedSeconds;
    return QStringLiteral(", ") + remainingText(elapsed / made * left);
}

void ProgressLine::clear()
{
    if (std::exchange(m_shown, false)) {
        m_streams.err("\r\033[K");
    }
}

} // namespace qv
