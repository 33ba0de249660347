#include "shell/appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>

namespace qv
{
namespace
{

constexpr uint schemePrefersDark = 1;
constexpr int answerMilliseconds = 2000;

struct Tones {
    QColor window, base, alternate, button, text, quiet, placeholder, mid, highlight, link;
};

const Tones lightTones{QColor(246, 247, 249), QColor(255, 255, 255), QColor(247, 248, 250),
                       QColor(252, 252, 253), QColor(30, 34, 40),    QColor(150, 156, 165),
                       QColor(104, 111, 121), QColor(190, 195, 203), QColor(38, 110, 214),
                       QColor(25, 95, 195)};
const Tones darkTones{QColor(37, 40, 46),    QColor(29, 31, 36),    QColor(34, 37, 42),
                      QColor(56, 60, 68),    QColor(232, 234, 238), QColor(116, 122, 132),
                      QColor(158, 165, 176), QColor(74, 79, 89),    QColor(58, 123, 219),
                      QColor(122, 176, 255)};

QPalette paletteOf(const Tones &t)
{
    QPalette palette;
    palette.setColor(QPalette::Window, t.window);
    palette.setColor(QPalette::Base, t.base);
    palette.setColor(QPalette::AlternateBase, t.alternate);
    palette.setColor(QPalette::Button, t.button);
    palette.setColor(QPalette::ToolTipBase, t.base);
    palette.setColor(QPalette::PlaceholderText, t.placeholder);
    palette.setColor(QPalette::Highlight, t.highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, t.link);
    palette.setColor(QPalette::Light, t.button.lighter(115));
    palette.setColor(QPalette::Midlight, t.button.lighter(107));
    palette.setColor(QPalette::Mid, t.mid);
    palette.setColor(QPalette::Dark, t.mid.darker(125));
    palette.setColor(QPalette::Shadow, t.mid.darker(170));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::ToolTipText, QPalette::BrightText}) {
        palette.setColor(role, t.text);
    }
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, t.quiet);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, t.mid);
    return palette;
}

// Qt outlines an empty check box too faintly for a dark window; it is filled like a button.
void show(const Tones &tones)
{
    QPalette palette = paletteOf(tones);
    QApplication::setPalette(palette);
    palette.setColor(QPalette::Base, tones.button);
    QApplication::setPalette(palette, "QCheckBox");
}

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

// The answer comes nested in two variants from some portals, in one from others.
uint schemeIn(const QVariant &answer)
{
    const QVariant inner =
        answer.canConvert<QDBusVariant>() ? answer.value<QDBusVariant>().variant() : answer;
    const QVariant value =
        inner.canConvert<QDBusVariant>() ? inner.value<QDBusVariant>().variant() : inner;
    return value.toUInt();
}

QString &chosen()
{
    static QString appearance;
    return appearance;
}

// Without a platform theme Qt does not know that the desktop is dark; the portal does.
void askDesktop()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    question << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(question, answerMilliseconds), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, qApp, [watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid() && chosen() == QLatin1String("system") &&
            schemeIn(reply.value().variant()) == schemePrefersDark &&
            !isDark(QApplication::palette())) {
            show(darkTones);
        }
    });
}

// Desktop themes bring a palette of their own; Qt's plain one is replaced by ours.
bool hasThemePalette()
{
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORMTHEME");
}

} // namespace

void applyAppearance(const QString &appearance)
{
    chosen() = appearance;
    if (appearance == QLatin1String("dark")) {
        show(darkTones);
    } else if (appearance == QLatin1String("light")) {
        show(lightTones);
    } else if (hasThemePalette()) {
        QApplication::setPalette(QPalette());
    } else {
        show(lightTones);
        askDesktop();
    }
}

} // namespace qv
