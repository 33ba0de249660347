#include "updater/web/web_fixture.h"

#include "updater/web/web_headers.h"

namespace
{

std::string reasonOf(const tl::expected<WebPage, QString> &page)
{
    return page ? std::string() : page.error().toStdString();
}

void redirect(WebServer &server, const QString &from, const QUrl &to, bool isEndless = false)
{
    server.setRoute(
        from,
        {.status = 302, .body = "elsewhere", .location = to.toEncoded(), .isEndless = isEndless});
}

// /0 leads to /1 and so on, to a page; the pages in between have no end.
void makeRedirects(WebServer &server, int count)
{
    for (int i = 0; i < count; ++i) {
        redirect(server, '/' + QString::number(i), QUrl('/' + QString::number(i + 1)), true);
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

TEST(RedirectRefusal, ComparesServersInTheirNormalForm)
{
    const struct {
        const char *to; // from https://u.example/
        bool bound, free;
    } cases[] = {
        {"https://u.example/b?c#d", true, true},
        {"https://U.EXAMPLE:443/", true, true},
        {"https://me@u.example/", true, true},
        {"https://v.example/", false, true},
        {"https://www.u.example/", false, true},
        {"https://u.example./", false, true},
        {"https://u.example:8443/", false, true},
        {"https://u.example@v.example/", false, true},
        {"http://u.example/", false, false},
        {"http://u.example:443/", false, false},
        {"file://u.example/etc/passwd", false, false},
        {"ftp://u.example/", false, false},
        {"https:///path", false, false},
    };
    for (const auto &c : cases) {
        const QUrl from("https://u.example/");
        EXPECT_EQ(qv::redirectRefusal(from, QUrl(c.to), true).isNull(), c.bound) << c.to;
        EXPECT_EQ(qv::redirectRefusal(from, QUrl(c.to), false).isNull(), c.free) << c.to;
    }
    EXPECT_TRUE(qv::redirectRefusal(QUrl("https://b\u00fccher.example/"),
                                    QUrl("https://xn--bcher-kva.example/"), true)
                    .isNull());
}

// Pages and downloads alike.
TEST_F(Web, ARedirectLeavesTheServerOnlyWhenItMayAndNeverForALessSafeOne)
{
    Certificates::shared().trust();
    WebServer safe(Certificates::shared().server(Certificates::Server::Good));
    WebServer other;
    const auto reasons = [&](const QUrl &from) {
        return reasonOf(load(from)) + " | " + download({from, folder.path()}).toStdString();
    };
    WebLimits limits = shortLimits();
    for (const bool isBound : {true, false}) {
        limits.isBoundToServer = isBound;
        web = std::make_unique<webUtils>(limits);
        for (WebServer *to : {&safe, &other}) {
            to->setRoute("/page", {.body = "elsewhere"});
            redirect(server, "/away", to->address("/page"));
            EXPECT_THAT(reasons(server.address("/away")),
                        testing::MatchesRegex(isBound ? ".*without a key.*without a key" : " . "));
            EXPECT_EQ(to->requests().isEmpty(), isBound);
        }
    }
    redirect(safe, "/down", other.address("/page"));
    EXPECT_THAT(reasons(safe.address("/down")), testing::ContainsRegex("less safe.*less safe"));
    EXPECT_EQ(other.countOf("/page"), 2);
}

TEST_F(Web, TrustsNoBadCertificate)
{
    using Kind = Certificates::Server;
    Certificates::shared().trust();
    for (const Kind kind : {Kind::Expired, Kind::OtherName, Kind::Unknown}) {
        WebServer bad(Certificates::shared().server(kind));
        EXPECT_THAT(reasonOf(load(bad.address("/page"))),
                    HasSubstr("the certificate of 127.0.0.1 can't be trusted: "));
        EXPECT_THAT(download({bad.address("/file"), folder.path()}).toStdString(),
                    HasSubstr("can't be trusted"));
        EXPECT_TRUE(bad.requests().isEmpty());
    }
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
