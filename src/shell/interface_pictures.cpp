#include "shell/interface_pictures.h"

#include "support/bundle.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

namespace qv
{
namespace
{

class PictureEngine : public QIconEngine
{
public:
    explicit PictureEngine(QByteArray svg) : m_svg(std::move(svg)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        QByteArray svg = m_svg;
        svg.replace("currentColor", color(mode, state).name().toLatin1());
        QSvgRenderer renderer(svg);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        if (mode == QIcon::Disabled) {
            painter->setOpacity(painter->opacity() * 0.5);
        }
        renderer.render(painter, QRectF(rect));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new PictureEngine(m_svg); }

private:
    static QColor color(QIcon::Mode mode, QIcon::State state)
    {
        const QPalette palette = QGuiApplication::palette();
        const bool onHighlight = mode == QIcon::Selected || state == QIcon::On;
        return palette.color(onHighlight ? QPalette::HighlightedText : QPalette::ButtonText);
    }

    QByteArray m_svg;
};

} // namespace

QIcon interfacePicture(const QString &name)
{
    const QString path = Bundle::main().resource(name, QStringLiteral("svg"));
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QIcon(new PictureEngine(file.readAll()));
}

} // namespace qv
