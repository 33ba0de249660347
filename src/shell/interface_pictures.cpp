#include "shell/interface_pictures.h"

#include "shell/painted_icon_engine.h"
#include "support/bundle.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

namespace qv
{
namespace
{

class PictureEngine : public PaintedIconEngine
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
