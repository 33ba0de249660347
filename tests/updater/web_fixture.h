#pragma once

#include "updater/web_utils.h"

#include "common/test_files.h"
#include "common/wait_until.h"
#include "support/bundle.h"
#include "web_server/certificates.h"
#include "web_server/web_server.h"

#include <QNetworkProxy>
#include <QStorageInfo>
#include <QTcpServer>

#include <csignal>
#include <sys/resource.h>

#include <gmock/gmock.h>

using qv::WebLimits;
using qv::WebPage;
using qv::webUtils;
using testing::HasSubstr;

constexpr int silence = 200; // milliseconds

inline WebLimits shortLimits()
{
    return {.connecting = silence,
            .silence = silence,
            .pageBytes = 50'000,
            .fileBytes = 5'000'000,
            .pause = 1};
}

inline QByteArray bytesOf(int size)
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
