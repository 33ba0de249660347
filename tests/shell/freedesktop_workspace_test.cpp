#include "common/folder_test.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "shell/freedesktop_workspace.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QProcess>

#include <fstream>
#include <memory>

using namespace qv;

// The file browser and the notification server of a desktop.
class Desktop : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    enum class Manner { Obliging, Refusing, Silent };
    Manner manner = Manner::Obliging;
    QStringList shown;

public Q_SLOTS:
    Q_SCRIPTABLE void ShowItems(const QStringList &addresses, const QString &)
    {
        shown += addresses;
        if (manner == Manner::Refusing) {
            sendErrorReply(QDBusError::Failed, "not today");
        }
        setDelayedReply(manner == Manner::Silent);
    }
};

class NoticeBoard : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList capabilities;
    QStringList notices;

public Q_SLOTS:
    Q_SCRIPTABLE QStringList GetCapabilities() { return capabilities; }
    Q_SCRIPTABLE uint Notify(const QString &application, uint, const QString &,
                             const QString &title, const QString &text, const QStringList &,
                             const QVariantMap &, int)
    {
        notices << application + "|" + title + "|" + text;
        return 1;
    }
};

namespace
{

class WorkspaceTest : public FolderTest
{
protected:
    static void SetUpTestSuite()
    {
        s_daemon = std::make_unique<QProcess>();
        s_daemon->start("dbus-daemon", {"--session", "--print-address", "--nofork", "--nopidfile"});
        ASSERT_TRUE(s_daemon->waitForReadyRead(10000)) << "no dbus-daemon";
        const QString address = s_daemon->readLine().trimmed();
        QDBusConnection::connectToBus(address, "window");
        QDBusConnection::connectToBus(address, "desktop");
    }
    static void TearDownTestSuite()
    {
        QDBusConnection::disconnectFromBus("window");
        QDBusConnection::disconnectFromBus("desktop");
        s_daemon->kill();
        s_daemon->waitForFinished();
        s_daemon.reset();
    }

    WorkspaceTest() : m_workspace(QDBusConnection("window"), opener())
    {
        QObject::connect(&m_workspace, &Workspace::failed,
                         [this](const QString &reason) { m_failures << reason; });
    }
    ~WorkspaceTest() override
    {
        withdraw("org.freedesktop.FileManager1");
        setForeignNamesFolder({});
    }
    FreedesktopWorkspace::Opener opener()
    {
        return [this](const QUrl &url) {
            m_opened << url.toEncoded();
            return m_canOpen;
        };
    }
    static QString objectPath(QString service) { return '/' + service.replace('.', '/'); }
    void serve(QObject &object, const QString &service)
    {
        QDBusConnection desktop("desktop");
        ASSERT_TRUE(
            desktop.registerObject(objectPath(service), &object, QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(desktop.registerService(service));
    }
    static void withdraw(const QString &service)
    {
        QDBusConnection("desktop").unregisterObject(objectPath(service));
        QDBusConnection("desktop").unregisterService(service);
    }
    QString file(const QString &name) const
    {
        writeFile(path(name), "");
        return path(name);
    }
    QByteArray address(const QByteArray &encodedName = {}) const
    {
        return "file://" + m_folder.path().toUtf8() + encodedName;
    }

    static inline std::unique_ptr<QProcess> s_daemon;
    TestBundle m_bundle{TestBundle::Ffmpeg::None};
    QList<QByteArray> m_opened;
    bool m_canOpen = true;
    QStringList m_failures;
    FreedesktopWorkspace m_workspace;
};

} // namespace

TEST_F(WorkspaceTest, TheFileBrowserShowsTheFilesThatAreThereWhateverTheirNames)
{
    Desktop desktop;
    serve(desktop, "org.freedesktop.FileManager1");
    const QByteArray foreign = m_folder.path().toUtf8() + "/film\xff.mp4";
    std::ofstream(foreign.toStdString()) << "film";
    setForeignNamesFolder(m_folder.filePath("names"));
    m_workspace.reveal({file("a b#%&<b>\n.jpg"), "/not/there", usablePath(foreign)});
    ASSERT_TRUE(waitUntil([&] { return !desktop.shown.isEmpty(); }));
    EXPECT_EQ(desktop.shown,
              (QStringList{address("/a%20b%23%25%26%3Cb%3E%0A.jpg"), address("/film%FF.mp4")}));
    EXPECT_TRUE(m_opened.isEmpty());
    std::filesystem::remove(foreign.toStdString());
}

TEST_F(WorkspaceTest, WithoutAnAnswerTheFolderIsOpened)
{
    const QString path = file("a b.jpg");
    const struct {
        const char *what;
        std::optional<Desktop::Manner> manner;
    } rows[] = {{"nobody there", std::nullopt},
                {"an error", Desktop::Manner::Refusing},
                {"no answer", Desktop::Manner::Silent}};
    for (const auto &[what, manner] : rows) {
        Desktop desktop;
        if (manner) {
            desktop.manner = *manner;
            serve(desktop, "org.freedesktop.FileManager1");
        }
        m_opened.clear();
        m_workspace.reveal({path});
        EXPECT_TRUE(m_opened.isEmpty()) << "it waits for nobody";
        ASSERT_TRUE(waitUntil([&] { return !m_opened.isEmpty(); }, 4000)) << what;
        EXPECT_EQ(m_opened, QList<QByteArray>{address()}) << what;
        withdraw("org.freedesktop.FileManager1");
    }
    FreedesktopWorkspace workspace(QDBusConnection("no such bus"), opener());
    workspace.notify("title", "text");
    workspace.reveal({m_folder.filePath("vanished.jpg")});
    EXPECT_EQ(m_opened.value(1), address()) << "without a bus";
}

TEST_F(WorkspaceTest, SaysWhatCanNotBeShownOrOpened)
{
    m_workspace.open("/not/there.jpg");
    m_workspace.reveal({"/not/there.jpg"});
    m_workspace.reveal({});
    EXPECT_EQ(m_failures.size(), 3);
    EXPECT_TRUE(m_failures.value(0).contains("/not/there.jpg"));
    m_canOpen = false;
    m_workspace.openUrl(QUrl("mailto:somebody@quorvantel.example?body=secret"));
    ASSERT_EQ(m_failures.size(), 4);
    EXPECT_FALSE(m_failures.last().contains("secret"));
}

TEST_F(WorkspaceTest, NoticesAreShownAsTheyAreWrittenByEveryServer)
{
    for (const bool markup : {true, false}) {
        NoticeBoard board;
        board.capabilities = markup ? QStringList{"body", "body-markup"} : QStringList{"body"};
        serve(board, "org.freedesktop.Notifications");
        m_workspace.notify("Done", "<b>a</b> & b");
        ASSERT_TRUE(waitUntil([&] { return !board.notices.isEmpty(); }));
        const QString text = markup ? "&lt;b&gt;a&lt;/b&gt; &amp; b" : "<b>a</b> & b";
        EXPECT_EQ(board.notices, QStringList{"Quorvantel|Done|" + text});
        withdraw("org.freedesktop.Notifications");
    }
}

#include "freedesktop_workspace_test.moc"
