#include "shell/window_memory.h"

#include "sheet/layout.h"

#include <QStandardPaths>

namespace qv
{
namespace
{

constexpr int mediumLayout = static_cast<int>(SheetLayout::Medium);
constexpr int widestDrawer = 10'000;

QString usualFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Quorvantel/window.ini");
}

} // namespace

WindowMemory::WindowMemory() : WindowMemory(usualFile()) {}

WindowMemory::WindowMemory(const QString &file) : m_settings(file, QSettings::IniFormat) {}

QByteArray WindowMemory::geometry() const
{
    return m_settings.value(QStringLiteral("geometry")).toByteArray();
}

void WindowMemory::setGeometry(const QByteArray &geometry)
{
    m_settings.setValue(QStringLiteral("geometry"), geometry);
}

bool WindowMemory::isDrawerOpen() const
{
    return m_settings.value(QStringLiteral("drawerOpen"), false).toBool();
}

void WindowMemory::setDrawerOpen(bool open)
{
    m_settings.setValue(QStringLiteral("drawerOpen"), open);
}

int WindowMemory::drawerWidth() const
{
    const int width = m_settings.value(QStringLiteral("drawerWidth"), 0).toInt();
    return width > 0 && width < widestDrawer ? width : 0;
}

void WindowMemory::setDrawerWidth(int width)
{
    m_settings.setValue(QStringLiteral("drawerWidth"), width);
}

int WindowMemory::layout() const
{
    bool isNumber = false;
    const int out = m_settings.value(QStringLiteral("layout"), mediumLayout).toInt(&isNumber);
    return isNumber && out >= 0 && out < layoutCount ? out : mediumLayout;
}

void WindowMemory::setLayout(int out)
{
    m_settings.setValue(QStringLiteral("layout"), out);
}

bool WindowMemory::wantsQuickPictures() const
{
    return m_settings.value(QStringLiteral("quickPictures"), false).toBool();
}

void WindowMemory::setQuickPictures(bool quick)
{
    m_settings.setValue(QStringLiteral("quickPictures"), quick);
}

QString WindowMemory::appearance() const
{
    const QString stored = m_settings.value(QStringLiteral("appearance")).toString();
    const bool isKnown = stored == QLatin1String("light") || stored == QLatin1String("dark");
    return isKnown ? stored : QStringLiteral("system");
}

void WindowMemory::setAppearance(const QString &appearance)
{
    m_settings.setValue(QStringLiteral("appearance"), appearance);
}

QString WindowMemory::sourceFolder() const
{
    return m_settings.value(QStringLiteral("sourceFolder")).toString();
}

void WindowMemory::setSourceFolder(const QString &folder)
{
    m_settings.setValue(QStringLiteral("sourceFolder"), folder);
}

void WindowMemory::save()
{
    m_settings.sync();
}

} // namespace qv
