#pragma once

#include "updater/web/web_utils.h"

#include "common/test_files.h"
#include "common/wait_until.h"
#include "process/child_process.h"
#include "support/bundle.h"
#include "web_server/certificates.h"
#include "web_server/web_server.h"

#include <QNetworkProxy>
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

    webUtils::DownloadRequest request(const QString &name = "/file") const
    {
        return {server.address(name), folder.path()};
    }
    // Null when it came; its bytes are in `file`.
    QString download(const webUtils::DownloadRequest &request)
    {
        std::optional<QString> result;
        file = QByteArray();
        web->downloadURL(request, [&](const auto &done) {
            result = done ? QString() : done.error();
            file = done ? bytesIn(**done) : QByteArray();
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
    static QByteArray bytesIn(const qv::FileDescriptor &descriptor)
    {
        QFile opened;
        EXPECT_TRUE(opened.open(descriptor.get(), QIODevice::ReadOnly));
        opened.seek(0);
        return opened.readAll();
    }
    QByteArray lastHeader(const QByteArray &name) const
    {
        return server.requests().last().headers.value(name);
    }

    QTemporaryDir folder;
    QByteArray file;
    WebServer server;
    std::unique_ptr<webUtils> web;
};
