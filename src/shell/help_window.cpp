#include "shell/help_window.h"

#include "shell/screen_fit.h"
#include "support/bundle.h"
#include "support/localized_strings.h"

#include <QFile>
#include <QImage>
#include <QKeySequence>
#include <QShortcut>
#include <QVBoxLayout>

namespace qv
{
namespace
{

constexpr int widestPicture = 640;

QString pageFolder()
{
    return QStringLiteral("%1/%2.lproj").arg(Bundle::main().resourcePath(), language());
}

} // namespace

HelpBrowser::HelpBrowser(QWidget *parent) : QTextBrowser(parent)
{
    setOpenLinks(true);
    setOpenExternalLinks(false);
    setFrameShape(QFrame::NoFrame);
    document()->setDocumentMargin(24);
}

// Only what lies beside the page, by its plain name.
QVariant HelpBrowser::loadResource(int type, const QUrl &name)
{
    const QString file = name.fileName();
    QFile content(pageFolder() + QLatin1Char('/') + file);
    if (file.isEmpty() || !name.isRelative() || !content.open(QIODevice::ReadOnly)) {
        return {};
    }
    if (type != QTextDocument::ImageResource) {
        return QString::fromUtf8(content.readAll());
    }
    QImage picture = QImage::fromData(content.readAll());
    // Pictures are made at twice their size.
    picture.setDevicePixelRatio(std::max(2.0, picture.width() / double(widestPicture)));
    return picture;
}

HelpWindow::HelpWindow(QWidget *parent)
    : QWidget(parent, Qt::Window), m_browser(new HelpBrowser(this))
{
    setWindowTitle(QStringLiteral("@@menuHelpPage"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_browser);
    resize(QSize(760, 720).boundedTo(largestOnScreen(*this)));
    auto *close = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(close, &QShortcut::activated, this, &QWidget::close);
}

void HelpWindow::open()
{
    if (m_browser->source().isEmpty()) {
        m_browser->setSource(QUrl(QStringLiteral("help.html")));
    }
    show();
    raise();
    activateWindow();
}

} // namespace qv
