#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <tl/expected.hpp>

#include <functional>
#include <memory>

class QNetworkAccessManager;

// Pages and files from the web, over HTTP and HTTPS only. Redirects never lead from HTTPS to HTTP;
// certificates that can't be verified are failures. Only an unfinished download is kept between
// requests. Everything happens on the event loop.
namespace qv
{

class FileDescriptor;
class KeptFile;
class WebDownload;

struct WebLimits {
    int connecting = 15'000; // milliseconds until the request is on its way
    int silence = 30'000;    // milliseconds without a byte
    int redirects = 5;
    bool isBoundToServer = true;        // redirects keep scheme, host and port
    qint64 pageBytes = qint64{1} << 20; // of a page
    qint64 fileBytes = qint64{2} << 30; // of a download
    int attempts = 4;                   // of a download that is cut off, each going on
    int pause = 500; // milliseconds before the second attempt; doubled before each further one
};

struct WebPage {
    int status = 0; // of HTTP
    QByteArray body;
    QString contentType; // as the server names it, may be empty

    // In the encoding that the server names, that the page's own first lines name, or UTF-8.
    QString text() const;
};

class webUtils : public QObject
{
    Q_OBJECT

public:
    explicit webUtils(const WebLimits &limits = {}, QObject *parent = nullptr);
    ~webUtils() override;

    // The page, whatever its HTTP status is, or why it did not come, for people. The handler is
    // called once, later, and never after this object's end.
    using PageHandler = std::function<void(const tl::expected<WebPage, QString> &page)>;
    void webpageLoad(const QUrl &address, PageHandler handler);

    // Whether any text came back from the address; why not, when not.
    using ConnexionHandler = std::function<void(const tl::expected<void, QString> &connected)>;
    void internetConnexionCheck(const QUrl &address, ConnexionHandler handler);

    // Downloads into a file that has no name, on the volume of the folder. The bytes of a download
    // that was cut off, cancelled or failed are kept as long as this object lives: the next one of
    // the same address resumes there if the server supports it and its file is still the same. A
    // server that cuts the connection is asked again without the caller's doing.
    struct DownloadRequest {
        QUrl address;
        QString folder;
    };
    // The file, open for reading and writing, or the reason for people. One download at a time; a
    // second one while one runs fails at once.
    using DownloadedFile = std::shared_ptr<const FileDescriptor>;
    using DownloadHandler = std::function<void(const tl::expected<DownloadedFile, QString> &done)>;
    void downloadURL(const DownloadRequest &request, DownloadHandler handler);
    bool isDownloading() const;
    // Its handler is called with cancelledReason().
    void cancelDownload();
    static QString cancelledReason();

Q_SIGNALS:
    // Bytes of the file that are there, and of the whole; -1 when the server does not tell.
    void downloadProgressed(qint64 received, qint64 total);

private:
    QNetworkAccessManager &manager();

    WebLimits m_limits;
    std::unique_ptr<QNetworkAccessManager> m_manager;
    std::unique_ptr<QObject> m_pages; // that are on their way, as its children
    std::unique_ptr<KeptFile> m_kept;
    std::unique_ptr<WebDownload> m_download;
};

} // namespace qv
