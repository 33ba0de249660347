#include "shell/drop_view.h"

#include "common/test_bundle.h"
#include "shell/dropped_paths.h"
#include "support/files.h"
#include "support/foreign_names.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include <fstream>

using namespace qv;

TEST(DroppedPaths, AreTheLocalOnesOfAnAddressListOrAText)
{
    const struct {
        const char *type;
        QByteArray data;
        QStringList paths;
    } cases[] = {
        {"text/uri-list",
         "file:///a%20b/c%25d.mp4\r\nfile://localhost/e.mp4\r\n",
         {"/a b/c%d.mp4", "/e.mp4"}},
        {"text/uri-list", "# note\r\nhttp://somewhere.example/a.mp4\r\n/plain\r\n", {}},
        {"text/uri-list", "file://elsewhere.example/a.mp4\nfile:/x/./y/../z.mp4", {"/x/z.mp4"}},
        {"text/uri-list", "file:///a%00b\nfile:\nfile://\nfile:relative", {}},
        {"text/plain", "/one.mp4\n  \nrelative.mp4\nfile:///two.mp4", {"/one.mp4", "/two.mp4"}},
    };
    for (const auto &c : cases) {
        QMimeData data;
        data.setData(c.type, c.data);
        EXPECT_EQ(pathsIn(data), c.paths) << c.data.constData();
    }
}

TEST(DroppedPaths, KeepNamesThatAreNoUtf8Usable)
{
    QTemporaryDir folder;
    setForeignNamesFolder(folder.filePath("links"));
    const QByteArray name = folder.path().toUtf8() + "/caf\xe9.mp4";
    std::ofstream(name.toStdString()) << "film";
    QMimeData data;
    data.setData("text/uri-list", "file://" + folder.path().toUtf8() + "/caf%E9.mp4");
    ASSERT_EQ(pathsIn(data).size(), 1);
    EXPECT_TRUE(fileExists(pathsIn(data).first()));
    EXPECT_EQ(cleanUsablePath(folder.path().toUtf8() + "/./x/../caf\xe9.mp4"),
              pathsIn(data).first());
    ::remove(name.constData());
    setForeignNamesFolder({});
}

class DropViewTest : public testing::Test
{
protected:
    DropViewTest() : m_bundle(TestBundle::Ffmpeg::None) { m_view.QWidget::show(); }

    bool enters()
    {
        QDragEnterEvent event({5, 5}, Qt::CopyAction, &m_data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(&m_view, &event);
        return event.isAccepted();
    }
    void drop()
    {
        QDropEvent event({5, 5}, Qt::CopyAction, &m_data, Qt::LeftButton, {});
        QApplication::sendEvent(&m_view, &event);
    }

    TestBundle m_bundle;
    dragNDropView m_view;
    QMimeData m_data;
};

TEST_F(DropViewTest, HandsOnDroppedFilesWhileItTakesAny)
{
    QSignalSpy dropped(&m_view, &dragNDropView::performDrag);
    EXPECT_FALSE(enters()) << "nothing that could be a file";
    m_data.setData("text/uri-list", "file:///a.mp4\r\nfile:///b.mp4\r\n");
    EXPECT_TRUE(enters());
    drop();
    ASSERT_EQ(dropped.size(), 1);
    EXPECT_EQ(dropped.first().first().toStringList(), QStringList({"/a.mp4", "/b.mp4"}));

    QSignalSpy nothing(&m_view, &dragNDropView::nothingDropped);
    m_data.setData("text/uri-list", "sftp://there.example/a.mp4\r\nhttps://there.example/\r\n");
    EXPECT_TRUE(enters());
    drop();
    EXPECT_EQ(nothing.size(), 1);
    EXPECT_EQ(dropped.size(), 1);

    m_view.setAcceptsDrops(false);
    EXPECT_FALSE(enters());
    drop();
    EXPECT_EQ(dropped.size(), 1);
}

TEST_F(DropViewTest, OpensAChooserByMouseAndKeyboardAndStopsAnAnalysis)
{
    QSignalSpy opened(&m_view, &dragNDropView::openRequested);
    QTest::mouseClick(&m_view, Qt::LeftButton);
    QTest::keyClick(&m_view, Qt::Key_Space);
    QTest::keyClick(&m_view, Qt::Key_Return);
    QTest::keyClick(&m_view, Qt::Key_Return, Qt::ControlModifier); // makes the sheets
    EXPECT_EQ(opened.size(), 3);

    WindowState busy;
    busy.analysisStopShown = true;
    m_view.show(busy);
    QSignalSpy stopped(&m_view, &dragNDropView::stopRequested);
    QTest::mouseClick(m_view.findChild<QToolButton *>("analysisStopBt"), Qt::LeftButton);
    EXPECT_EQ(stopped.size(), 1);
}
