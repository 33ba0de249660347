#include "shell/desktop_fixture.h"

#include "support/diagnostics.h"

#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

using namespace qv;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

using DesktopTest = DesktopFixture;

TEST_F(DesktopTest, StartsWithStoredSettingsAndWithoutTheStateOfARunBefore)
{
    PreferencesStore before(PreferencesStore::userFile(Bundle::main().identifier()),
                            PreferencesStore::Saving::Written);
    before.prefWrite("processEncDico", 1);
    before.prefWrite("NSNavLastRootDirectory", "kept");
    before.prefWrite("prefLimitMed", 21);
    before.prefWrite("prefDefautDstPathStr", path("unmounted disk"));
    before.synchronize();

    ASSERT_TRUE(start());
    EXPECT_FALSE(m_desktop->preferences().prefRead("processEncDico").isValid());
    EXPECT_TRUE(m_desktop->preferences().prefRead("NSNavLastRootDirectory").isValid());
    EXPECT_EQ(m_desktop->window().controls().thumbnailCount(1), 21);
    EXPECT_EQ(m_desktop->window().controls().destination(), path("unmounted disk"));
    EXPECT_EQ(find<QLabel>("versionField")->text(), Bundle::main().version());
    EXPECT_FALSE(find<QPushButton>("goBt")->isEnabled());
    EXPECT_TRUE(fileExists(temporaryFolder() + "/app.app"));
}

TEST_F(DesktopTest, SavedPreferencesChangeInTheWindowOnlyWhatTheyChanged)
{
    ASSERT_TRUE(start());
    BatchControls &controls = m_desktop->window().controls();
    PreferencesWindow &preferences = m_desktop->preferencesWindow();
    controls.setThumbnailCount(1, 21);
    controls.setPictureChoice(1);
    for (const int other : {12, 18}) {
        preferences.iba_menuPref();
        preferences.selectCount("prefLimitMin", QString::number(other));
        preferences.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment);
        EXPECT_EQ(controls.thumbnailCount(1), 21);
        EXPECT_EQ(controls.pictureChoice(), 1);
        EXPECT_EQ(controls.thumbnailCount(2), other);
    }
}

TEST_F(DesktopTest, RefusesToRunBesideAnotherCopy)
{
    EXPECT_FALSE(start(2));
    ASSERT_EQ(m_presenter->shown.size(), 1);
    EXPECT_THAT(m_presenter->shown.first().detail.toStdString(),
                HasSubstr(Bundle::main().name().toStdString()));
    EXPECT_TRUE(m_log.contains("APP number of copy  :-( 2"));
    EXPECT_FALSE(m_log.contains("awakeFromNib - fin"));
}

// A text that waits to be localised would be seen as "@@key".
TEST_F(DesktopTest, LeavesNoTextUntranslatedAndCutsNoneOff)
{
    for (const char *language : {"en", "fr"}) {
        SCOPED_TRACE(language);
        setLanguage(language);
        ASSERT_TRUE(start());
        m_desktop->window().setDrawerOpen(true);
        m_desktop->preferencesWindow().iba_menuPref();
        QCoreApplication::processEvents();
        for (QWidget *window : {static_cast<QWidget *>(&m_desktop->window()),
                                static_cast<QWidget *>(&m_desktop->preferencesWindow())}) {
            const QSize least = window->minimumSizeHint();
            EXPECT_LE(least.width(), 800) << "half of 1600 x 1000 pixels, with a frame";
            EXPECT_LE(least.height(), 470);
        }
        for (QWidget *widget : QApplication::allWidgets()) {
            QString text = widget->toolTip() + widget->accessibleName() + widget->windowTitle();
            for (const char *property : {"text", "title", "placeholderText"}) {
                text += widget->property(property).toString();
            }
            EXPECT_FALSE(text.contains("@@")) << qPrintable(text);
            const auto *label = qobject_cast<QLabel *>(widget);
            const bool isWhole =
                label != nullptr
                    ? !label->text().isEmpty() && !label->wordWrap() &&
                          label->sizePolicy().horizontalPolicy() != QSizePolicy::Ignored
                    : qobject_cast<QPushButton *>(widget) != nullptr;
            if (isWhole && widget->isVisible()) {
                EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << qPrintable(text);
            }
        }
        for (QAction *action : m_desktop->window().findChildren<QAction *>()) {
            EXPECT_FALSE(action->text().contains("@@")) << qPrintable(action->text());
        }
        m_presenter.reset();
        m_desktop.reset();
    }
}

TEST_F(DesktopTest, MakesSheetsOfWhatIsDropped)
{
    ASSERT_TRUE(start());
    Q_EMIT m_desktop->window().dropView().performDrag(
        sources({"one.mp4", "analysis-refuse.mp4", "two.mp4", "notes.all-refuse.txt"}));
    EXPECT_FALSE(m_desktop->window().dropView().acceptsDrops());
    ASSERT_TRUE(waitUntil([this] { return controller().isGateOpen(); }));
    EXPECT_TRUE(waitUntil([this] { return m_desktop->window().isDrawerOpen(); }));
    EXPECT_EQ(controller().table().count(), 2);
    EXPECT_TRUE(m_desktop->window().dropView().acceptsDrops());

    auto *go = find<QPushButton>("goBt");
    ASSERT_TRUE(waitUntil([&] { return go->isEnabled(); }));
    QTest::mouseClick(go, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return !isEncoding(); }));
    const QString folder = QDir::homePath() + "/Movies/Quorvantel";
    EXPECT_EQ(m_desktop->drawer().summary(), "2 videos, 2 done");
    EXPECT_TRUE(fileExists(folder + "/one.jpg"));
    EXPECT_TRUE(fileExists(folder + "/two.jpg"));
    EXPECT_TRUE(m_workspace->opened.contains(folder));
    EXPECT_TRUE(waitUntil([this] { return m_presenter->countOf(localized("D_fin_GUI")) == 1; }));
    QFile::remove(folder + "/two.jpg");
    controller().iba_batchGoBt();
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(waitUntil(
        [this] { return find<QLabel>("batchCaption")->text() == "Sheets made: 1 · kept: 1"; }));
    EXPECT_EQ(m_desktop->drawer().summary(), "2 videos, 1 done, 1 kept");
    rmCocoa(folder);
}

TEST_F(DesktopTest, KeepsRefusedSourcesInSightWhenTheRowsGo)
{
    for (const bool refuses : {false, true}) {
        ASSERT_TRUE(start());
        ASSERT_TRUE(bringIn(refuses ? QStringList{"one.mp4", "analysis-refuse.mp4"}
                                    : QStringList{"one.mp4"}));
        auto *go = find<QPushButton>("goBt");
        ASSERT_TRUE(waitUntil([&] { return go->isEnabled(); }));
        controller().encBatchRemoveAll(appDelegate::Sender::Internal);
        ASSERT_TRUE(waitUntil([&] { return !go->isEnabled(); }));
        EXPECT_EQ(m_desktop->window().isDrawerOpen(), refuses);
    }
}

TEST_F(DesktopTest, TheListComesBackWholeInAMaximisedWindow)
{
    ASSERT_TRUE(start());
    MainWindow &window = m_desktop->window();
    window.setDrawerOpen(true);
    window.showMaximized();
    for (const bool isOpen : {false, true}) {
        QCoreApplication::processEvents();
        window.setDrawerOpen(isOpen);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(m_desktop->drawer().view()->horizontalScrollBar()->maximum(), 0);
    EXPECT_GE(m_desktop->drawer().width(), m_desktop->drawer().minimumSizeHint().width());
}

TEST_F(DesktopTest, RemembersWhetherPicturesAreTakenQuickly)
{
    for (const bool before : {false, true, false}) {
        ASSERT_TRUE(start());
        auto *quick = find<QCheckBox>("quickSwitch");
        EXPECT_EQ(quick->isChecked(), before);
        QTest::mouseClick(quick, Qt::LeftButton, {}, {8, quick->height() / 2});
        EXPECT_EQ(WindowMemory().wantsQuickPictures(), !before) << "from the next row on";
        m_desktop->quit(appDelegate::Quit::AtOnce);
    }
}

TEST_F(DesktopTest, TakesWhatComesWhileItLooksAtVideosAfterwards)
{
    ASSERT_TRUE(start());
    m_desktop->openPaths(sources({"one.mp4"}));
    m_desktop->openPaths(sources({"two.mp4"}));
    m_desktop->openPaths(sources({"three.mp4"}));
    EXPECT_TRUE(waitForRows(3));
}

TEST_F(DesktopTest, MenusDoWhatTheySay)
{
    ASSERT_TRUE(start());
    const Menus &menus = m_desktop->menus();
    m_chooser->chosenFiles = sources({"one.mp4"});
    menus.open->trigger();
    ASSERT_TRUE(waitForRows(1));
    EXPECT_THAT(m_chooser->asked, ElementsAre(QString("files 1")));

    sources({"films/two.mp4"});
    m_chooser->chosenFolder = path("films");
    menus.openFolder->trigger();
    ASSERT_TRUE(waitForRows(2));

    QApplication::clipboard()->setText(sources({"three.mp4"}).first());
    menus.paste->trigger();
    ASSERT_TRUE(waitForRows(3));

    menus.chooseDestination->trigger();
    EXPECT_EQ(m_desktop->window().controls().destination(), path("films"));
    menus.showDestination->trigger();
    EXPECT_TRUE(m_workspace->opened.contains(path("films")));

    for (const bool isOn : {true, false}) {
        menus.debugToggle->trigger();
        EXPECT_EQ(isDebug(), isOn);
        EXPECT_EQ(menus.debugToggle->text(), localized(isOn ? "menuDebug0" : "menuDebug1"));
    }
    menus.showLogs->trigger();
    EXPECT_THAT(m_workspace->revealed, ElementsAre(detailsLogPath()));
    menus.bugReport->trigger();
    EXPECT_EQ(m_workspace->urls.last().scheme(), "mailto");

    menus.helpPage->trigger();
    EXPECT_TRUE(m_desktop->helpWindow().isVisible());
    EXPECT_TRUE(
        m_desktop->helpWindow().findChild<QTextBrowser *>()->toPlainText().contains("index sheet"));
    menus.preferences->trigger();
    EXPECT_TRUE(m_desktop->preferencesWindow().isVisible());
    m_desktop->preferencesWindow().iba_menuPrefSegmentClose(0);
    const bool open = m_desktop->window().isDrawerOpen();
    menus.drawer->trigger();
    EXPECT_NE(m_desktop->window().isDrawerOpen(), open);

    menus.selectAll->trigger();
    EXPECT_EQ(controller().table().selection().size(), 3);
    menus.remove->trigger();
    EXPECT_EQ(controller().table().count(), 0);
}

TEST_F(DesktopTest, BeginsWithWhatItWasStartedForUnlessAQuestionIsOpen)
{
    ASSERT_TRUE(start());
    m_desktop->act(LaunchAction::ChooseVideos);
    m_desktop->act(LaunchAction::ChooseFolder);
    ASSERT_EQ(m_chooser->asked.size(), 2);
    EXPECT_EQ(m_chooser->asked.first(), "files 1");
    EXPECT_TRUE(m_chooser->asked.last().startsWith("folder "));
    {
        QDialog question;
        question.setModal(true);
        question.show();
        m_desktop->act(LaunchAction::ChooseVideos);
        m_desktop->act(LaunchAction::ShowPreferences);
    }
    EXPECT_EQ(m_chooser->asked.size(), 2);
    EXPECT_FALSE(m_desktop->preferencesWindow().isVisible());
    m_desktop->act(LaunchAction::ShowPreferences);
    EXPECT_TRUE(m_desktop->preferencesWindow().isVisible());
}

TEST_F(DesktopTest, PausesStopsAndAsksBeforeItQuits)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(bringIn({"picture-hang.mp4", "two.mp4"}));
    const Menus &menus = m_desktop->menus();
    ASSERT_TRUE(waitUntil([&] { return menus.go->isEnabled(); }));
    menus.go->trigger();
    ASSERT_TRUE(waitUntil([&] { return menus.pause->isEnabled(); }));
    menus.pause->trigger();
    EXPECT_TRUE(waitUntil([&] { return menus.pause->text() == localized("menuResume"); }));
    menus.pause->trigger();
    EXPECT_TRUE(waitUntil([&] { return menus.pause->text() == localized("menuPause"); }));

    bool finished = false;
    QObject::connect(m_desktop.get(), &Desktop::finished, [&] { finished = true; });
    m_presenter->answers = {{1, false}};
    menus.quit->trigger();
    EXPECT_FALSE(finished) << "the answer was Cancel";
    EXPECT_TRUE(isEncoding());
    EXPECT_EQ(m_presenter->countOf(localized("D_quit_1")), 1);

    const QString scratch = temporaryFolder();
    m_presenter->answers = {{0, false}};
    m_desktop->window().close();
    EXPECT_TRUE(finished);
    EXPECT_FALSE(fileExists(scratch));
    EXPECT_EQ(QDir(QDir::homePath() + "/Movies/Quorvantel")
                  .entryList(QDir::NoDotAndDotDot | QDir::AllEntries)
                  .size(),
              0);
    EXPECT_TRUE(WindowMemory().isDrawerOpen());
    rmCocoa(QDir::homePath() + "/Movies/Quorvantel");
}
