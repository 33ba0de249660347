#include "updater/web_utils.h"

#include "common/test_files.h"
#include "common/wait_until.h"
#include "support/bundle.h"
#include "web_server/certificates.h"
#include "web_server/web_server.h"

#include <QDir>
#include <QNetworkProxy>
#include <QStorageInfo>
#include <QTcpServer>
#include <QTemporaryDir>

#include <csignal>
#include <optional>
#include <sys/resource.h>

#include <gmock/gmock.h>

using qv::WebLimits;
using qv::WebPage;
using qv::webUtils;
using testing::HasSubstr;

namespace
{

constexpr int silence = 200; // milliseconds

WebLimits shortLimits()
{
    return {.connecting = silence,
            .silence = silence,
            .pageBytes = 50'000,
            .fileBytes = 5'000'000,
            .pause = 1};
}

QByteArray bytesOf(int size)
{
    QByteArray bytes;
    for (quint32 state = 1; bytes.size() < size; state = state * 1664525 + 1013904223) {
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}

class Web : public testing::Test
{
protected:
    Web() : web(std::make_unique<webUtils>(shortLimits()))
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    }

    using Page = tl::expected<WebPage, QString>;
    Page load(const QUrl &address)
    {
        std::optional<Page> result;
        web->webpageLoad(address, [&](const Page &page) { result = page; });
        EXPECT_FALSE(result) << "told within the call";
        EXPECT_TRUE(waitUntil([&] { return result.has_value(); }));
        return result.value_or(tl::unexpected(QStringLiteral("nothing was told")));
    }
    Page load(const Route &route)
    {
        server.setRoute("/page", route);
        return load(server.address("/page"));
    }

    QString path() const { return folder.filePath("target.zip"); }
    QString kept() const { return folder.filePath("kept"); }
    webUtils::DownloadRequest request(const QString &name = "/file") const
    {
        return {server.address(name), path(), kept()};
    }
    // Null when it came.
    QString download(const webUtils::DownloadRequest &request)
    {
        std::optional<QString> result;
        web->downloadURL(request, [&](const tl::expected<void, QString> &done) {
            result = done ? QString() : done.error();
        });
        EXPECT_FALSE(result) << "told within the call";
        EXPECT_TRUE(waitUntil([&] { return result.has_value(); }));
        return result.value_or("nothing was told");
    }
    QString download(const Route &route)
    {
        server.setRoute("/file", route);
        return download(request());
    }
    // Leaves the first part of the file behind, as a cancelled download does.
    void keepPart(Route route, int bytes)
    {
        route.cutAfter = bytes;
        web = std::make_unique<webUtils>(WebLimits{.attempts = 1});
        EXPECT_FALSE(download(route).isNull());
        EXPECT_EQ(contentOf(kept() + "/download").size(), bytes);
        web = std::make_unique<webUtils>(shortLimits());
    }
    QByteArray lastHeader(const QByteArray &name) const
    {
        return server.requests().last().headers.value(name);
    }

    QTemporaryDir folder;
    WebServer server;
    std::unique_ptr<webUtils> web;
};

std::string reasonOf(const tl::expected<WebPage, QString> &page)
{
    return page ? std::string() : page.error().toStdString();
}

void redirect(WebServer &server, const QString &from, const QUrl &to)
{
    server.setRoute(from, {.status = 302, .body = "elsewhere", .location = to.toEncoded()});
}

// /0 leads to /1 and so on, to a page.
void makeRedirects(WebServer &server, int count)
{
    for (int i = 0; i < count; ++i) {
        redirect(server, '/' + QString::number(i), QUrl('/' + QString::number(i + 1)));
    }
    server.setRoute('/' + QString::number(count), {.body = "arrived"});
}

} // namespace

TEST_F(Web, APageComesWhateverItsStatus)
{
    for (const int status : {200, 203, 304, 400, 401, 403, 404, 407, 418, 500, 503}) {
        const QByteArray body = status == 304 ? "" : "page\n";
        const Page page = load(Route{.status = status, .body = body, .contentType = "text/x"});
        ASSERT_TRUE(page) << status << reasonOf(page);
        EXPECT_EQ(page->status, status);
        EXPECT_EQ(page->body, body) << status;
        EXPECT_EQ(page->contentType, "text/x");
    }
}

TEST_F(Web, AsksAsItselfForPlainBytesAndBringsNothingBackFromBefore)
{
    const Route route{.body = "page", .headers = {"Set-Cookie: a=b", "Cache-Control: max-age=999"}};
    ASSERT_TRUE(load(route));
    ASSERT_TRUE(load(route));
    EXPECT_EQ(server.countOf("/page"), 2);
    const qv::Bundle &bundle = qv::Bundle::main();
    EXPECT_EQ(lastHeader("user-agent"), (bundle.name() + '/' + bundle.version()).toUtf8());
    EXPECT_EQ(lastHeader("accept-encoding"), "identity");
    EXPECT_FALSE(server.requests().last().headers.contains("cookie"));
}

TEST_F(Web, ANameAndPasswordInAnAddressAreGivenToNobody)
{
    server.setRoute(
        "/page",
        {.status = 401, .body = "no", .headers = {"WWW-Authenticate: Basic realm=\"here\""}});
    QUrl address = server.address("/page");
    address.setUserInfo("me:secret");
    const Page page = load(address);
    ASSERT_TRUE(page) << reasonOf(page);
    EXPECT_EQ(page->status, 401);
    for (const WebRequest &request : server.requests()) {
        EXPECT_FALSE(request.headers.contains("authorization"));
    }
}

TEST(WebPage, ReadsItsTextInTheEncodingThatIsNamed)
{
    const QByteArray latin = "\xe9t\xe9";
    const QByteArray meta = "<html><head><meta charset=\"iso-8859-1\"></head>";
    const struct {
        QString contentType;
        QByteArray body;
        QString text;
    } cases[] = {
        {"text/plain; charset=ISO-8859-1", latin, "été"},
        {"text/plain;Charset=\"utf-16le\"; x=y", QByteArray("a\0b\0", 4), "ab"},
        {"text/html", meta + latin, meta + "été"},
        {"text/html; charset=utf-8", meta + "été", meta + "été"},
        {"text/html; charset=no-such-thing", "été", "été"},
        {"",
         "\xef\xbb\xbf"
         "été",
         "été"},
        {"",
         QByteArray("a\0\xff"
                    "b",
                    4),
         QString("a%1%2b").arg(QChar(0), QChar(0xfffd))},
    };
    for (const auto &one : cases) {
        EXPECT_EQ((WebPage{200, one.body, one.contentType}.text()), one.text)
            << one.contentType.toStdString();
    }
}

TEST_F(Web, SaysWhyAPageDidNotCome)
{
    using Silence = Route::Silence;
    const QByteArray text = "some text";
    const struct {
        Route route;
        std::string reason;
    } cases[] = {
        {{.body = bytesOf(50'001)}, "is longer than 50000 bytes"},
        {{.body = bytesOf(50'001), .promisesNothing = true}, "is longer than 50000 bytes"},
        {{.body = text, .promise = 50'001}, "is longer than 50000 bytes"},
        {{.body = text, .isEndless = true}, "is longer than 50000 bytes"},
        {{.body = text, .cutAfter = 3}, "sent less than it promised"},
        {{.body = text, .cutAfter = 0, .cutsHeaders = true}, "broke off the connection"},
        {{.body = text, .promise = 100}, "sent less than it promised"},
        {{.status = 404, .body = text, .cutAfter = 3}, "sent less than it promised"},
        {{.body = text, .silence = Silence::BeforeHeaders}, "did not answer for 0.2 s"},
        {{.body = text, .silence = Silence::AfterHeaders}, "did not answer for 0.2 s"},
        {{.body = bytesOf(500), .bytesPerSecond = 20}, "did not come within 0.8 s"},
    };
    for (const auto &one : cases) {
        EXPECT_THAT(reasonOf(load(one.route)), HasSubstr(one.reason));
    }
}

TEST_F(Web, SaysWhyAServerCannotBeAsked)
{
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QUrl nobody(QString("http://127.0.0.1:%1/").arg(closed.serverPort()));
    closed.close();
    EXPECT_THAT(reasonOf(load(nobody)), HasSubstr("the server at 127.0.0.1 can't be reached: "));
    for (const char *address : {"", "page", "http:///page", "http://", "file:///etc/passwd",
                                "ftp://127.0.0.1/", "data:,x", "http://[::1"}) {
        EXPECT_THAT(reasonOf(load(QUrl(address))), HasSubstr("no address of the web")) << address;
    }
    server.fallMute();
    QUrl safe = server.address("/page");
    safe.setScheme("https");
    EXPECT_THAT(reasonOf(load(safe)), HasSubstr("did not answer for 0.2 s"));
}

TEST_F(Web, FollowsFiveRedirectsAndNoSixth)
{
    makeRedirects(server, 5);
    const Page page = load(server.address("/0"));
    ASSERT_TRUE(page) << reasonOf(page);
    EXPECT_EQ(page->body, "arrived");

    makeRedirects(server, 6);
    EXPECT_THAT(reasonOf(load(server.address("/0"))), HasSubstr("redirects too often"));
}

TEST_F(Web, RedirectsLeadToTheSameOrASaferSchemeOnly)
{
    Certificates::shared().trust();
    WebServer safe(Certificates::shared().server(Certificates::Server::Good));
    safe.setRoute("/page", {.body = "safe page"});
    server.setRoute("/page", {.body = "page"});

    redirect(server, "/up", safe.address("/page"));
    const Page up = load(server.address("/up"));
    ASSERT_TRUE(up) << reasonOf(up);
    EXPECT_EQ(up->body, "safe page");

    redirect(safe, "/down", server.address("/page"));
    EXPECT_THAT(reasonOf(load(safe.address("/down"))), HasSubstr("that is less safe"));
    redirect(server, "/out", QUrl("file:///etc/passwd"));
    EXPECT_THAT(reasonOf(load(server.address("/out"))), HasSubstr("redirects out of the web"));
    EXPECT_EQ(server.countOf("/page"), 0);
}

TEST_F(Web, TrustsNoBadCertificate)
{
    using Kind = Certificates::Server;
    Certificates::shared().trust();
    for (const Kind kind : {Kind::Expired, Kind::OtherName, Kind::Unknown}) {
        WebServer bad(Certificates::shared().server(kind));
        EXPECT_THAT(reasonOf(load(bad.address("/page"))),
                    HasSubstr("the certificate of 127.0.0.1 can't be trusted: "));
        EXPECT_THAT(download({bad.address("/file"), path(), kept()}).toStdString(),
                    HasSubstr("can't be trusted"));
        EXPECT_TRUE(bad.requests().isEmpty());
    }
}

TEST_F(Web, AConnexionIsThereWhenAnyTextComesBack)
{
    const auto check = [&](const Route &route) {
        server.setRoute("/page", route);
        std::optional<bool> connected;
        web->internetConnexionCheck(server.address("/page"),
                                    [&](const auto &result) { connected = result.has_value(); });
        EXPECT_TRUE(waitUntil([&] { return connected.has_value(); }));
        return connected.value_or(false);
    };
    EXPECT_TRUE(check({.body = "1"}));
    EXPECT_TRUE(check({.status = 500, .body = "broken"}));
    EXPECT_FALSE(check({.body = ""}));
    EXPECT_FALSE(check({.body = "1", .promise = 5}));
}

TEST_F(Web, AHandlerMayDeleteEverything)
{
    server.setRoute("/file", {.body = "file"});
    int told = 0;
    const auto end = [&](const auto &) {
        ++told;
        web.reset();
    };
    web->webpageLoad(server.address("/file"), end);
    web->webpageLoad(server.address("/file"), end);
    ASSERT_TRUE(waitUntil([&] { return !web; }));

    web = std::make_unique<webUtils>(shortLimits());
    web->downloadURL(request(), end);
    ASSERT_TRUE(waitUntil([&] { return !web; }));
    EXPECT_EQ(told, 2);
    EXPECT_EQ(contentOf(path()), "file");
}

TEST_F(Web, AnEndedObjectTellsNobody)
{
    server.setRoute("/file", {.body = "file"});
    const auto fail = [](const auto &) { ADD_FAILURE() << "told"; };
    web->webpageLoad(server.address("/file"), fail);
    web->downloadURL(request(), fail);
    web.reset();
    web = std::make_unique<webUtils>(shortLimits());
    ASSERT_TRUE(load(server.address("/file")));
}

TEST_F(Web, ADownloadBringsTheBytesToItsPlaceAndLeavesNothingElse)
{
    QList<QPair<qint64, qint64>> told;
    QObject::connect(web.get(), &webUtils::downloadProgressed, web.get(),
                     [&](qint64 received, qint64 total) {
                         told += {received, total};
                     });
    const QByteArray body = bytesOf(3'000'000);
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_EQ(contentOf(path()), body);
    EXPECT_TRUE(QDir(kept()).isEmpty());
    ASSERT_FALSE(told.isEmpty());
    EXPECT_EQ(told.last(), qMakePair(qint64{3'000'000}, qint64{3'000'000}));
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));

    // Something stands there now.
    EXPECT_THAT(download(request()).toStdString(), HasSubstr("something already"));
    EXPECT_EQ(contentOf(path()), body);
}

TEST_F(Web, ADownloadMayBeEmptyOrOfUntoldLength)
{
    EXPECT_EQ(download(Route{.body = ""}), QString());
    EXPECT_TRUE(QFile::exists(path()));
    QFile::remove(path());
    const QByteArray body = bytesOf(300'000);
    EXPECT_EQ(download(Route{.body = body, .promisesNothing = true}), QString());
    EXPECT_EQ(contentOf(path()), body);
}

TEST_F(Web, SaysWhyADownloadFailedAndPutsNothingAtItsPlace)
{
    const QByteArray body = bytesOf(1000);
    const struct {
        Route route;
        std::string reason;
    } cases[] = {
        {{.status = 404, .body = body}, "answered with status 404"},
        {{.status = 503, .body = body}, "answered with status 503"},
        {{.status = 206, .body = body}, "answered with status 206"},
        {{.status = 204}, "answered with status 204"},
        {{.body = body, .promise = 5'000'001}, "is larger than 5000000 bytes"},
        {{.body = body, .isEndless = true}, "is larger than 5000000 bytes"},
        {{.body = body, .promise = 2000}, "sent less than it promised"},
        {{.body = body, .silence = Route::Silence::AfterHeaders}, "did not answer for"},
    };
    for (const auto &one : cases) {
        EXPECT_THAT(download(one.route).toStdString(), HasSubstr(one.reason));
        EXPECT_FALSE(QFile::exists(path())) << one.reason;
    }
}

TEST_F(Web, ARefusedDownloadIsNotAskedForAgain)
{
    for (const int status : {204, 404, 503}) {
        const int before = server.countOf("/file");
        EXPECT_FALSE(download(Route{.status = status}).isNull());
        EXPECT_EQ(server.countOf("/file") - before, 1) << status;
    }
}

TEST_F(Web, ADownloadNeedsAFolderToGoToAndOneToKeepItIn)
{
    server.setRoute("/file", {.body = "file"});
    webUtils::DownloadRequest nowhere = request();
    nowhere.path = folder.filePath("no/target.zip");
    EXPECT_THAT(download(nowhere).toStdString(), HasSubstr("folder of the download is missing"));
    webUtils::DownloadRequest unkept = request();
    writeFile(folder.filePath("file"), "");
    unkept.keptFolder = folder.filePath("file/kept");
    EXPECT_THAT(download(unkept).toStdString(), HasSubstr("can't be kept in"));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(Web, AFullDiskEndsADownloadWithTheSystemsWords)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit usual = {};
    ::getrlimit(RLIMIT_FSIZE, &usual);
    const rlimit tight = {.rlim_cur = 100'000, .rlim_max = usual.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tight);
    const QString reason = download(Route{.body = bytesOf(1'000'000), .etag = "\"1\""});
    ::setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_THAT(reason.toStdString(), HasSubstr("can't be written to"));
    EXPECT_THAT(reason.toStdString(), HasSubstr("File too large"));
    EXPECT_EQ(server.countOf("/file"), 1);

    web = std::make_unique<webUtils>(shortLimits());
    EXPECT_EQ(download(request()), QString());
    EXPECT_EQ(contentOf(path()), bytesOf(1'000'000));
}

TEST_F(Web, ACutConnectionIsTakenUpWhereItBroke)
{
    const QByteArray body = bytesOf(900'000);
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\"", .cutAfter = 250'000}), QString());
    EXPECT_EQ(contentOf(path()), body);
    EXPECT_EQ(lastHeader("range"), "bytes=750000-");
    EXPECT_EQ(lastHeader("if-range"), "\"1\"");
}

TEST_F(Web, ADownloadThatFallsSilentIsTakenUpThere)
{
    const QByteArray body = bytesOf(100'000);
    const Route route{
        .body = body, .etag = "\"1\"", .cutAfter = 70'000, .cuts = 1, .cutsSilently = true};
    EXPECT_EQ(download(route), QString());
    EXPECT_EQ(lastHeader("range"), "bytes=70000-");
    EXPECT_EQ(contentOf(path()), body);
}

TEST_F(Web, ADownloadGoesToAnotherVolumeToo)
{
    const QTemporaryDir other("/dev/shm/quorvantel-test-XXXXXX");
    if (QStorageInfo(other.path()) == QStorageInfo(folder.path())) {
        GTEST_SKIP() << "there is no other volume";
    }
    const Route route{.body = bytesOf(300'000)};
    server.setRoute("/file", route);
    const webUtils::DownloadRequest far{server.address("/file"), path(), other.filePath("kept")};
    EXPECT_EQ(download(far), QString());
    EXPECT_EQ(contentOf(path()), route.body);
    EXPECT_TRUE(QDir(far.keptFolder).isEmpty());
}

TEST_F(Web, AServerThatCutsForeverIsLeftAfterAllAttempts)
{
    const QByteArray body = bytesOf(900'000);
    EXPECT_THAT(download(Route{.body = body, .etag = "\"1\"", .cutAfter = 100'000}).toStdString(),
                HasSubstr("sent less than it promised"));
    // The next one goes on all the same.
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_EQ(lastHeader("range"), "bytes=400000-");
    EXPECT_EQ(contentOf(path()), body);
}

TEST_F(Web, ContinuesOnlyTheSameFileAndWhatTheServerReallyContinues)
{
    const QByteArray body = bytesOf(100'000);
    const QByteArray other = bytesOf(120'000).mid(20'000);
    const Route before{.body = body, .etag = "\"1\""};
    const struct {
        const char *name;
        Route before;
        Route after;
        int requests;
    } cases[] = {
        {"the same", before, before, 1},
        {"the same by its date",
         {.body = body, .etag = "W/\"1\"", .lastModified = "Sat, 01 Nov 2025 10:00:00 GMT"},
         {.body = body, .lastModified = "Sat, 01 Nov 2025 10:00:00 GMT"},
         1},
        {"changed", before, {.body = other, .etag = "\"2\""}, 1},
        {"no validator", {.body = body}, {.body = other}, 1},
        {"a weak validator",
         {.body = body, .etag = "W/\"1\""},
         {.body = other, .etag = "W/\"1\""},
         1},
        {"ranges ignored", before, {.body = body, .etag = "\"1\"", .ignoresRanges = true}, 1},
        {"another place", before, {.body = body, .etag = "\"1\"", .rangeLie = 7}, 2},
        {"another length", before, {.body = body + "more", .etag = "\"1\""}, 2},
        {"too short now", before, {.body = body.left(10), .etag = "\"1\""}, 2},
    };
    for (const auto &one : cases) {
        keepPart(one.before, 40'000);
        const int asked = server.countOf("/file");
        EXPECT_EQ(download(one.after), QString()) << one.name;
        EXPECT_EQ(contentOf(path()), one.after.body) << one.name;
        EXPECT_EQ(server.countOf("/file") - asked, one.requests) << one.name;
        QFile::remove(path());
    }
}

TEST_F(Web, WhatIsKeptOfAnotherAddressIsReplaced)
{
    const Route route{.body = bytesOf(100'000), .etag = "\"1\""};
    keepPart(route, 40'000);
    server.setRoute("/other", route);
    EXPECT_EQ(download(request("/other")), QString());
    EXPECT_EQ(lastHeader("range"), "");
    EXPECT_EQ(contentOf(path()), route.body);
}

TEST_F(Web, DamagedFactsMeanBeginningAnew)
{
    const Route route{.body = bytesOf(100'000), .etag = "\"1\""};
    const QByteArray address = server.address("/file").toEncoded();
    const auto facts = [&](const QByteArray &validator, const QByteArray &length) {
        return R"({"address":")" + address + R"(","validator":")" + validator + R"(","length":)" +
               length + '}';
    };
    for (const QByteArray &content :
         {QByteArray(""), QByteArray("{"), QByteArray("[1]"), QByteArray(200'000, '['),
          facts(R"(\"1\"\r\nX: y)", "100000"), facts(R"(\"é\")", "100000"), facts("", "100000"),
          facts(R"(\"1\")", "-5"), facts(R"(\"1\")", "1"), facts(R"(\"1\")", "1e30"),
          facts(R"(\"1\")", "\"a\"")}) {
        keepPart(route, 40'000);
        writeFile(kept() + "/download.json", content);
        EXPECT_EQ(download(route), QString());
        EXPECT_EQ(lastHeader("range"), "") << content.left(80).toStdString();
        EXPECT_EQ(contentOf(path()), route.body);
        QFile::remove(path());
    }
}

TEST_F(Web, MoreBytesThanTheFileHasAreCutToItsLastOne)
{
    const Route route{.body = bytesOf(100'000), .etag = "\"1\""};
    keepPart(route, 40'000);
    writeFile(kept() + "/download", route.body + "and more");
    EXPECT_EQ(download(route), QString());
    EXPECT_EQ(lastHeader("range"), "bytes=99999-");
    EXPECT_EQ(contentOf(path()), route.body);
}

TEST_F(Web, ADownloadCanBeCancelledInEveryStateAndGoesOnLater)
{
    const QByteArray body = bytesOf(1'000'000);
    const Route slow{.body = body, .etag = "\"1\"", .bytesPerSecond = 2'000'000};
    const Route silent{.body = body, .silence = Route::Silence::BeforeHeaders};
    const auto isAsked = [this] { return server.countOf("/file") > 0; };
    const auto hasBytes = [this] { return QFileInfo(kept() + "/download").size() > 200'000; };
    const struct {
        const char *name;
        Route route;
        std::function<bool()> moment;
    } cases[] = {{"at once", slow, [] { return true; }},
                 {"before the answer", silent, isAsked},
                 {"among the bytes", slow, hasBytes}};
    for (const auto &one : cases) {
        server.setRoute("/file", one.route);
        QStringList told;
        web->downloadURL(request(), [&](const auto &done) { told += done ? "" : done.error(); });
        EXPECT_TRUE(waitUntil(one.moment)) << one.name;
        EXPECT_TRUE(web->isDownloading());
        web->cancelDownload();
        web->cancelDownload();
        EXPECT_TRUE(told.isEmpty()) << one.name;
        EXPECT_TRUE(waitUntil([&] { return !web->isDownloading(); }));
        EXPECT_EQ(told, QStringList(webUtils::cancelledReason())) << one.name;
        EXPECT_FALSE(QFile::exists(path())) << one.name;
    }
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_GT(lastHeader("range").mid(6).chopped(1).toInt(), 200'000);
    EXPECT_EQ(contentOf(path()), body);
}

TEST_F(Web, OnlyOneDownloadRunsAtATimeAndItsHandlerMayBeginTheNext)
{
    server.setRoute("/file", {.body = "file", .silence = Route::Silence::BeforeHeaders});
    server.setRoute("/other", {.body = "other"});
    std::optional<bool> next;
    web->downloadURL(request(), [&](const auto &) {
        web->downloadURL(request("/other"), [&](const auto &done) { next = done.has_value(); });
    });
    EXPECT_THAT(download(request("/other")).toStdString(), HasSubstr("on its way already"));
    web->cancelDownload();
    EXPECT_TRUE(waitUntil([&] { return next.has_value(); }));
    EXPECT_EQ(contentOf(path()), "other");
}

TEST_F(Web, TwoObjectsDoNotKeepInOneFolder)
{
    server.setRoute("/file", {.body = "file", .silence = Route::Silence::BeforeHeaders});
    webUtils other;
    other.downloadURL(request(), [](const auto &) {});
    EXPECT_THAT(download(request()).toStdString(), HasSubstr("another copy"));
}
