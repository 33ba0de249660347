// Pictures of the windows in their main states: screenshots LANGUAGE APPEARANCE CLIPS FOLDER
// Drives the real application on the offscreen platform, at the scale of QT_SCALE_FACTOR, and
// writes FOLDER/<state>.png.

#include "common/recording_workspace.h"
#include "common/wait_until.h"
#include "shell/appearance.h"
#include "shell/desktop.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QSignalBlocker>
#include <QTextEdit>
#include <QTimer>

#include <cstdio>

using namespace qv;

namespace
{

QWidget *dialogOver(const QWidget *window)
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget != window && widget->isVisible() && widget->isModal()) {
            return widget;
        }
    }
    return nullptr;
}

bool waitFor(const char *what, const std::function<bool()> &predicate)
{
    const bool came = waitUntil(predicate, 60'000);
    if (!came) {
        std::fprintf(stderr, "%s did not come\n", what);
    }
    return came;
}

struct Photographer {
    Desktop &desktop;
    QString folder;

    // Windows show what they are told a little later.
    static void settle()
    {
        QEventLoop loop;
        QTimer::singleShot(120, &loop, &QEventLoop::quit);
        loop.exec();
    }

    // A window with what lies on it, as a window manager would show them.
    static QImage together(QWidget &window)
    {
        QImage picture = window.grab().toImage();
        for (QWidget *above : QApplication::topLevelWidgets()) {
            if (above == &window || !above->isVisible() || !above->isModal()) {
                continue;
            }
            const QImage dialog = above->grab().toImage();
            const qreal ratio = picture.devicePixelRatio();
            const QPointF place((picture.width() / ratio - above->width()) / 2,
                                (picture.height() / ratio - above->height()) / 3);
            QPainter painter(&picture);
            painter.fillRect(QRectF(QPointF(), picture.deviceIndependentSize()),
                             QColor(0, 0, 0, 70));
            painter.drawImage(place, dialog);
            painter.setPen(QColor(128, 128, 128, 160));
            painter.drawRect(QRectF(place, QSizeF(above->size())));
        }
        return picture;
    }

    // Folders are shown as any user's while the picture is taken.
    class RenamedHome
    {
    public:
        RenamedHome() { replaceAll(QDir::homePath(), QStringLiteral("/home/anna")); }
        ~RenamedHome() { replaceAll(QStringLiteral("/home/anna"), QDir::homePath()); }

    private:
        static void replaceAll(const QString &from, const QString &to)
        {
            for (QWidget *widget : QApplication::allWidgets()) {
                if (auto *field = qobject_cast<QLineEdit *>(widget)) {
                    const QSignalBlocker quiet(field);
                    field->setText(field->text().replace(from, to));
                } else if (auto *elided = qobject_cast<ElidedLabel *>(widget)) {
                    elided->setWholeText(elided->wholeText().replace(from, to));
                } else if (auto *label = qobject_cast<QLabel *>(widget)) {
                    label->setText(label->text().replace(from, to));
                } else if (auto *text = qobject_cast<QTextEdit *>(widget);
                           text != nullptr && text->toPlainText().contains(from)) {
                    text->setPlainText(text->toPlainText().replace(from, to));
                }
            }
        }
    };

    void take(const QString &state, QWidget &window) const
    {
        settle();
        const RenamedHome renamed;
        const QImage picture = together(window).convertToFormat(QImage::Format_RGB888);
        const QString path = folder + QLatin1Char('/') + state + QStringLiteral(".png");
        if (!picture.save(path)) {
            std::fprintf(stderr, "%s can't be written\n", qUtf8Printable(path));
        }
    }
};

// Loops that alerts run keep the ones around them waiting, so the picture is taken from within.
void takeWithDialog(const Photographer &camera, const QString &state, QWidget &window)
{
    bool taken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (dialogOver(&window) != nullptr) {
            look.stop();
            camera.take(state, window);
            taken = true;
        }
    });
    look.start(50);
    waitFor(qPrintable(state), [&] { return taken; });
}

void offerUpdate(UpdateWindow &sheet)
{
    sheet.showOffer(
        {QStringLiteral("1.1"),
         QStringLiteral("https://updates.quorvantel.example/dlCenter/Quorvantel-1.1.zip"),
         {}});
    sheet.showNotes(WebPage{200,
                            "<h2>Quorvantel 1.1</h2><ul><li>Sheets of a whole folder are made "
                            "several at a time.</li><li>Clips of phones that were turned while "
                            "they filmed.</li></ul><p><a href='https://quorvantel.example/'>All "
                            "changes</a></p>",
                            QStringLiteral("text/html; charset=utf-8")});
    sheet.setPhase(UpdatePhase::Downloading);
    sheet.setStatus(localized(QStringLiteral("updateDownloading")));
    sheet.setProgress(11'300'000, 33'100'000);
}

bool takeAll(const Photographer &camera, const QStringList &clips)
{
    Desktop &desktop = camera.desktop;
    MainWindow &window = desktop.window();
    appDelegate &controller = desktop.controller();
    // The platform's small screen would shrink the windows.
    window.resize(560, 640);
    camera.take(QStringLiteral("start"), window);

    desktop.openPaths(clips);
    if (!waitFor("the analysis", [&] { return controller.table().count() >= 3; })) {
        return false;
    }
    window.resize(1180, 720);
    camera.take(QStringLiteral("analysing"), window);
    if (!waitFor("its end", [&] { return controller.isGateOpen(); })) {
        return false;
    }
    controller.whichArrayController().row(2).out = 0;
    controller.whichArrayController().row(2).dpi = 1;
    camera.take(QStringLiteral("list"), window);

    desktop.preferencesWindow().iba_menuPref();
    waitFor("the preferences", [&] { return desktop.preferencesWindow().isVisible(); });
    desktop.preferencesWindow().resize(desktop.preferencesWindow().sizeHint());
    waitUntil([] { return false; }, 600); // the preview is drawn a little later
    camera.take(QStringLiteral("preferences"), desktop.preferencesWindow());
    desktop.preferencesWindow().iba_menuPrefSegmentClose(0);

    controller.iba_batchGoBt();
    if (!waitFor("the making", [&] {
            return controller.encBatchInprogressRowIdentification() == 3 &&
                   controller.window().stepValue > 6;
        })) {
        return false;
    }
    camera.take(QStringLiteral("making"), window);
    controller.iba_taskStopBt(StopControl::pauseSegment);
    camera.take(QStringLiteral("paused"), window);
    controller.iba_taskStopBt(StopControl::pauseSegment);
    takeWithDialog(camera, QStringLiteral("done"), window);
    controller.iba_batchGoBt();
    takeWithDialog(camera, QStringLiteral("question"), window);
    controller.iba_taskStopBt(StopControl::stopSegment);
    desktop.helpWindow().open();
    desktop.helpWindow().resize(760, 720);
    camera.take(QStringLiteral("help"), desktop.helpWindow());
    desktop.helpWindow().close();
    offerUpdate(desktop.updateWindow());
    camera.take(QStringLiteral("update"), desktop.updateWindow());
    desktop.updateWindow().accept();
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 5) {
        std::fputs("usage: screenshots LANGUAGE APPEARANCE CLIPS FOLDER\n", stderr);
        return 2;
    }
    Bundle::setMain(Bundle(QStringLiteral(QV_BUILT_BUNDLE)));
    setLanguage(arguments.at(1));
    setLogFolder(QDir::homePath() + QStringLiteral("/logs"));
    QDir().mkpath(logFolder());
    QDir().mkpath(QDir::homePath() + QStringLiteral("/Movies"));
    Desktop::Launch launch;
    launch.turnOverLogs = [] {};
    Desktop desktop(std::make_unique<RecordingWorkspace>(), std::make_unique<FileChooser>(),
                    launch);
    if (!desktop.awakeFromNib()) {
        return 1;
    }
    applyAppearance(arguments.at(2));
    desktop.show();
    const Photographer camera{desktop, arguments.at(4)};
    QStringList clips;
    for (const QString &name : QDir(arguments.at(3)).entryList(QDir::Files, QDir::Name)) {
        clips.append(arguments.at(3) + QLatin1Char('/') + name);
    }
    const bool all = takeAll(camera, clips);
    desktop.quit(appDelegate::Quit::AtOnce);
    return all ? 0 : 1;
}
