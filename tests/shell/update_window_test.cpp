#include "shell/update_window.h"

#include "shell/localize_widgets.h"
#include "updater/updater.h"
#include "web_server/web_server.h"

#include "desktop_fixture.h"

#include <QLineEdit>
#include <QProgressBar>
#include <QTcpServer>
#include <QTest>

using namespace qv;

namespace
{

class UpdateWindowTest : public testing::Test
{
protected:
    UpdateWindowTest() : m_bundle(TestBundle::Ffmpeg::None)
    {
        localizeWindow(&m_window);
        QObject::connect(&m_window, &UpdateWindow::segmentClicked,
                         [this](int segment) { m_told << "segment " + QString::number(segment); });
        QObject::connect(&m_window, &UpdateWindow::cancelClicked, [this] { m_told << "cancel"; });
        QObject::connect(&m_window, &UpdateWindow::linkClicked,
                         [this](const QUrl &address) { m_told << address.toString(); });
        m_window.showOffer({"2.0", "https://u.example/dlCenter/Quorvantel-2.0.zip", {}});
    }

    template <typename Widget> Widget *find(const char *name)
    {
        return m_window.findChild<Widget *>(name);
    }
    QAbstractButton *segment(int index)
    {
        return qobject_cast<QAbstractButton *>(
            find<SegmentedControl>("updateButtons")->segments().at(index));
    }
    void showNotes(const QByteArray &page, const QString &type = "text/html")
    {
        m_window.showNotes(WebPage{200, page, type});
    }
    NotesBrowser &notes() { return *find<NotesBrowser>("updateNotes"); }

    const TestBundle m_bundle;
    UpdateWindow m_window;
    QStringList m_told;
};

} // namespace

TEST_F(UpdateWindowTest, OffersAndTellsWhatIsClicked)
{
    EXPECT_EQ(find<QLineEdit>("updateAddress")->text(),
              "https://u.example/dlCenter/Quorvantel-2.0.zip");
    EXPECT_EQ(m_window.focusWidget(), segment(Updater::downloadSegment));
    QTest::keyClick(&m_window, Qt::Key_Return);
    segment(Updater::closeSegment)->click();
    QTest::keyClick(&m_window, Qt::Key_Escape);
    EXPECT_EQ(m_told, (QStringList{"segment 1", "segment 0", "segment 0"}));
    EXPECT_TRUE(m_window.isVisible()) << "the updater closes it";
}

TEST_F(UpdateWindowTest, WhatCannotBeInstalledHasNoDownload)
{
    m_window.accept();
    m_window.showOffer({"2.0", "https://u.example/a.zip", "it belongs to a package"});
    EXPECT_FALSE(segment(Updater::downloadSegment)->isEnabled());
    EXPECT_EQ(m_window.focusWidget(), segment(Updater::closeSegment));
}

TEST_F(UpdateWindowTest, ShowsHowFarItIsAndLetsItBeCancelled)
{
    const struct {
        UpdatePhase phase;
        bool closes, cancels;
    } phases[] = {{UpdatePhase::Downloading, false, true},
                  {UpdatePhase::Checking, false, true},
                  {UpdatePhase::Placing, false, false},
                  {UpdatePhase::Installing, false, false},
                  {UpdatePhase::Offered, true, false}};
    for (const auto &p : phases) {
        m_told.clear();
        m_window.setPhase(p.phase);
        EXPECT_EQ(segment(Updater::closeSegment)->isEnabled(), p.closes);
        EXPECT_EQ(segment(Updater::downloadSegment)->isEnabled(), p.closes);
        EXPECT_EQ(find<QProgressBar>("updateProgress")->isVisible(), !p.closes);
        QTest::keyClick(&m_window, Qt::Key_Escape);
        EXPECT_EQ(m_told, p.cancels  ? QStringList{"cancel"}
                          : p.closes ? QStringList{"segment 0"}
                                     : QStringList());
    }
    m_window.setPhase(UpdatePhase::Downloading);
    const auto *bar = find<QProgressBar>("updateProgress");
    m_window.setProgress(1'500'000, 6'000'000);
    EXPECT_EQ(bar->value() * 4, bar->maximum());
    m_window.setProgress(2'000'000, -1);
    EXPECT_EQ(bar->maximum(), 0) << "no end is known";
}

TEST_F(UpdateWindowTest, ReleaseNotesLoadNothingAndRunNothing)
{
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    const QByteArray there = "http://127.0.0.1:" + QByteArray::number(server.serverPort());
    const QFileInfo secret(m_bundle.path() + "/Contents/Info.plist");
    showNotes("<html><head><link rel=stylesheet href='" + there + "/a.css'><style>@import url(" +
              there + "/b.css); p { background-image: url(" + there + "/c.png) }</style>" +
              "<script src='" + there + "/d.js'>document.title='x'</script></head><body><p>Text" +
              "<img src='" + there + "/e.png'><img src='file://" + secret.filePath().toUtf8() +
              "'><iframe src='" + there + "/f'></iframe><object data='" + there +
              "/g'></object></p></body></html>");
    EXPECT_TRUE(notes().toPlainText().startsWith("Text")) << qPrintable(notes().toPlainText());
    EXPECT_FALSE(notes().toPlainText().contains("document.title"));
    m_window.grab();
    EXPECT_FALSE(server.waitForNewConnection(200));
}

TEST_F(UpdateWindowTest, OnlyLinksToTheWebAreFollowedAndOnlyOutside)
{
    showNotes("<a href='https://u.example/'>x</a>");
    for (const char *address : {"https://u.example/", "file:///etc/passwd", "javascript:alert(1)",
                                "help.html", "mailto:a@b.example"}) {
        Q_EMIT notes().anchorClicked(QUrl(address));
    }
    EXPECT_EQ(m_told, QStringList{"https://u.example/"});
    EXPECT_EQ(notes().toPlainText(), "x");
}

TEST_F(UpdateWindowTest, PlainAndMissingNotesAreShownAsTheyAre)
{
    showNotes("<b>1 < 2</b>", "text/plain; charset=utf-8");
    EXPECT_EQ(notes().toPlainText(), "<b>1 < 2</b>");
    m_window.showNotes(tl::make_unexpected(QStringLiteral("<b>no</b>")));
    EXPECT_EQ(notes().toPlainText(), "The release notes can't be shown: <b>no</b>.");
}

// Laid out as they stand, each of these would take minutes or the whole stack.
TEST_F(UpdateWindowTest, MonstrousNotesAreShown)
{
    for (const QByteArray &page :
         {QByteArray("<div>").repeated(200'000), QByteArray("<table><tr><td>").repeated(60'000),
          QByteArray("<ul><li>").repeated(100'000), QByteArray("<b><i>x").repeated(100'000),
          QByteArray("x").repeated(1'000'000),
          "<table>" + QByteArray("<tr><td rowspan=65000 colspan=65000>x").repeated(20'000)}) {
        showNotes(page);
        EXPECT_FALSE(m_window.grab().isNull());
    }
}

// ---- in the application

class DesktopUpdateTest : public DesktopFixture
{
};

TEST_F(DesktopUpdateTest, TheMenuItemAsksAndTellsThatNobodyAnswers)
{
    ASSERT_TRUE(start());
    m_desktop->window().menuBar()->findChild<QAction *>("menuUpdate")->trigger();
    EXPECT_TRUE(waitUntil([this] { return m_presenter->countOf(localized("D_echec_1")) == 1; }));
    EXPECT_TRUE(m_log.contains("update              :-( web check KO"));
    EXPECT_FALSE(m_desktop->updateWindow().isVisible());
}

TEST_F(DesktopUpdateTest, SavedPreferencesAskByThemselves)
{
    ASSERT_TRUE(start());
    PreferencesWindow &preferences = m_desktop->preferencesWindow();
    preferences.iba_menuPref();
    preferences.setChecked("update", true);
    preferences.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment);
    EXPECT_TRUE(m_desktop->updater().isChecking());
    EXPECT_TRUE(waitUntil([this] { return !m_desktop->updater().isChecking(); }));
    EXPECT_EQ(m_presenter->countOf(localized("D_echec_1")), 0);
}

TEST_F(DesktopUpdateTest, AnOfferThatNobodyAskedForWaitsUntilThePreferencesAreClosed)
{
    WebServer server;
    server.setRoute("/ky/isConnected.htm", {.body = "yes"});
    server.setRoute("/dlCenter/update.php",
                    {.body = "<key>version</key><value>900.0</value>\n"
                             "<key>systemVersionMin</key><value>0</value>\n"
                             "<key>dlPath</key><value>Quorvantel-900.0.zip</value>\n"});
    const QString info = m_bundle.path() + "/Contents/Info.plist";
    writeFile(info, contentOf(info).replace("http://127.0.0.1:1/",
                                            server.address("/").toString().toUtf8()));
    Bundle::setMain(Bundle(m_bundle.path()));
    ASSERT_TRUE(start());
    PreferencesWindow &preferences = m_desktop->preferencesWindow();
    const auto checks = [this](Updater::Sender sender) {
        m_desktop->updater().iba_checkForUpdates(sender);
        return waitUntil([this] { return !m_desktop->updater().isChecking(); });
    };
    const auto isOffered = [this] { return m_desktop->updateWindow().isVisible(); };
    m_desktop->preferences().prefWrite("update", 1);
    preferences.iba_menuPref();
    EXPECT_TRUE(checks(Updater::Sender::Nobody));
    EXPECT_TRUE(preferences.isVisible());
    EXPECT_FALSE(isOffered());
    preferences.iba_menuPrefSegmentClose(PreferencesWindow::cancelSegment);
    EXPECT_TRUE(waitUntil(isOffered));

    m_desktop->updateWindow().accept();
    preferences.iba_menuPref();
    EXPECT_TRUE(checks(Updater::Sender::MenuItem));
    EXPECT_FALSE(preferences.isVisible());
    EXPECT_TRUE(isOffered());
}
