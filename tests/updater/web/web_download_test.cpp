#include "updater/web/web_fixture.h"

TEST_F(Web, ADownloadGivesTheBytesInAFileWithoutAName)
{
    QList<QPair<qint64, qint64>> told;
    QObject::connect(web.get(), &webUtils::downloadProgressed, web.get(),
                     [&](qint64 received, qint64 total) {
                         told += {received, total};
                     });
    const QByteArray body = bytesOf(3'000'000);
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_EQ(file, body);
    EXPECT_TRUE(QDir(folder.path()).isEmpty()) << "the file has no name that others could open";
    ASSERT_FALSE(told.isEmpty());
    EXPECT_EQ(told.last(), qMakePair(qint64{3'000'000}, qint64{3'000'000}));
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(download(Route{.body = body, .promisesNothing = true}), QString());
    EXPECT_EQ(file, body);
    EXPECT_EQ(download(Route{.body = ""}), QString());
}

TEST_F(Web, SaysWhyADownloadFailed)
{
    const QByteArray body = bytesOf(1000);
    const struct {
        Route route;
        std::string reason;
    } cases[] = {
        {{.status = 404, .body = body}, "answered with status 404"},
        {{.status = 206, .body = body}, "answered with status 206"},
        {{.status = 204}, "answered with status 204"},
        {{.body = body, .promise = 5'000'001}, "is larger than 5000000 bytes"},
        {{.body = body, .isEndless = true}, "is larger than 5000000 bytes"},
        {{.body = body, .promise = 2000}, "sent less than it promised"},
        {{.body = body, .silence = Route::Silence::AfterHeaders}, "did not answer for"},
    };
    for (const auto &one : cases) {
        const int before = server.countOf("/file");
        EXPECT_THAT(download(one.route).toStdString(), HasSubstr(one.reason));
        EXPECT_TRUE(one.route.status == 200 || server.countOf("/file") == before + 1)
            << "a refusal is not asked for again";
    }
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
    EXPECT_EQ(download(request()), QString());
    EXPECT_EQ(file, bytesOf(1'000'000));

    server.setRoute("/file", {.body = "file"});
    EXPECT_THAT(download({server.address("/file"), folder.filePath("no")}).toStdString(),
                HasSubstr("No such file or directory"));
}

TEST_F(Web, ADownloadThatBreaksOffOrFallsSilentIsTakenUpThere)
{
    const QByteArray body = bytesOf(900'000);
    const Route broken{.body = body, .etag = "\"1\"", .cutAfter = 250'000};
    Route silent{.body = body, .etag = "\"1\"", .cutAfter = 700'000, .cuts = 1};
    silent.cutsSilently = true;
    for (const auto &[route, range] :
         {std::pair(broken, "bytes=750000-"), std::pair(silent, "bytes=700000-")}) {
        EXPECT_EQ(download(route), QString());
        EXPECT_EQ(file, body);
        EXPECT_EQ(lastHeader("range"), range);
        EXPECT_EQ(lastHeader("if-range"), "\"1\"");
    }
}

TEST_F(Web, AServerThatCutsForeverIsLeftAfterAllAttempts)
{
    const QByteArray body = bytesOf(900'000);
    EXPECT_THAT(download(Route{.body = body, .etag = "\"1\"", .cutAfter = 100'000}).toStdString(),
                HasSubstr("sent less than it promised"));
    // The next one goes on all the same.
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_EQ(lastHeader("range"), "bytes=400000-");
    EXPECT_EQ(file, body);
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
        {"a validator that is no header", {.body = body, .etag = "\"\xe9\""}, before, 1},
    };
    for (const auto &one : cases) {
        WebLimits limits = shortLimits();
        limits.attempts = 1;
        web = std::make_unique<webUtils>(limits);
        Route cut = one.before;
        cut.cutAfter = 40'000;
        EXPECT_FALSE(download(cut).isNull());
        const int asked = server.countOf("/file");
        EXPECT_EQ(download(one.after), QString()) << one.name;
        EXPECT_EQ(file, one.after.body) << one.name;
        EXPECT_EQ(server.countOf("/file") - asked, one.requests) << one.name;
    }
    EXPECT_FALSE(download(Route{.body = body, .etag = "\"1\"", .cutAfter = 40'000}).isNull());
    server.setRoute("/other", before);
    EXPECT_EQ(download(request("/other")), QString());
    EXPECT_EQ(lastHeader("range"), "");
}

TEST_F(Web, ADownloadCanBeCancelledInEveryStateAndGoesOnLater)
{
    const QByteArray body = bytesOf(1'000'000);
    const Route slow{.body = body, .etag = "\"1\"", .bytesPerSecond = 2'000'000};
    const Route silent{.body = body, .silence = Route::Silence::BeforeHeaders};
    const auto isAsked = [this] { return server.countOf("/file") > 0; };
    qint64 arrived = 0;
    QObject::connect(web.get(), &webUtils::downloadProgressed, web.get(),
                     [&](qint64 received, qint64) { arrived = received; });
    const auto hasBytes = [&] { return arrived > 200'000; };
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
    }
    EXPECT_EQ(download(Route{.body = body, .etag = "\"1\""}), QString());
    EXPECT_GT(lastHeader("range").mid(6).chopped(1).toInt(), 200'000);
    EXPECT_EQ(file, body);
}

TEST_F(Web, OnlyOneDownloadRunsAtATimeAndItsHandlerMayBeginTheNext)
{
    server.setRoute("/file", {.body = "file", .silence = Route::Silence::BeforeHeaders});
    server.setRoute("/other", {.body = "other"});
    std::optional<bool> next;
    web->downloadURL(request(), [&](const auto &) {
        web->downloadURL(request("/other"), [&](const auto &done) {
            next = done.has_value();
            file = bytesIn(**done);
        });
    });
    EXPECT_THAT(download(request("/other")).toStdString(), HasSubstr("on its way already"));
    web->cancelDownload();
    EXPECT_TRUE(waitUntil([&] { return next.has_value(); }));
    EXPECT_EQ(file, "other");
}
