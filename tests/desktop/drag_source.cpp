// A small window that files are dragged out of, as a file manager's would be: drag_source FILE...
// Prints "ready" when it stands, "dropped" or "refused" when the drag has ended, and ends some
// seconds later.

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace
{

class Source : public QWidget
{
public:
    explicit Source(QList<QUrl> urls) : m_urls(std::move(urls))
    {
        setWindowTitle(QStringLiteral("drag source"));
        setGeometry(20, 20, 120, 80);
    }

protected:
    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (!(event->buttons() & Qt::LeftButton) || m_dragging) {
            return;
        }
        m_dragging = true;
        auto *files = new QMimeData;
        files->setUrls(m_urls);
        auto *drag = new QDrag(this); // lives on for who takes its data
        drag->setMimeData(files);
        const bool taken = drag->exec(Qt::CopyAction) == Qt::CopyAction;
        std::puts(taken ? "dropped" : "refused");
        std::fflush(stdout);
        // The other side asks for the data only now.
        QTimer::singleShot(5000, qApp, &QCoreApplication::quit);
    }
    void paintEvent(QPaintEvent *) override
    {
        if (!m_told) {
            m_told = true;
            std::puts("ready");
            std::fflush(stdout);
        }
    }

private:
    QList<QUrl> m_urls;
    bool m_dragging = false;
    bool m_told = false;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QList<QUrl> urls;
    for (const QString &path : application.arguments().mid(1)) {
        urls.append(QUrl::fromLocalFile(path));
    }
    Source source(urls);
    source.show();
    return application.exec();
}
