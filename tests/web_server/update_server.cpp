#include "web_server/web_server.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QUrlQuery>

#include <cstdio>

// Serves the files of a folder on the loopback, as a site of updates does.
namespace
{

QString fileFor(const QDir &folder, const WebRequest &request)
{
    const QString file = QFileInfo(folder.filePath('.' + request.path)).canonicalFilePath();
    if (!file.startsWith(folder.canonicalPath() + '/')) {
        return {};
    }
    const bool asksForNotes =
        request.path.endsWith("/update.php") && QUrlQuery(request.query).hasQueryItem("h");
    return asksForNotes ? QFileInfo(file).dir().filePath("notes.html") : file;
}

QByteArray contentTypeOf(const QString &file)
{
    if (file.endsWith(".html") || file.endsWith(".php")) {
        return "text/html; charset=utf-8";
    }
    return file.endsWith(".zip") ? "application/zip" : "application/octet-stream";
}

std::optional<Route> routeFor(const QDir &folder, const WebRequest &request, qint64 speed)
{
    const QFileInfo file(fileFor(folder, request));
    if (!file.isFile()) {
        return {};
    }
    Route route;
    route.file = file.filePath();
    route.contentType = contentTypeOf(route.file);
    route.etag = '"' + QByteArray::number(file.size()) + '-' +
                 QByteArray::number(file.lastModified().toMSecsSinceEpoch()) + '"';
    route.bytesPerSecond = route.contentType == "application/zip" ? speed : 0;
    return route;
}

bool writePort(const QString &path, quint16 port)
{
    QSaveFile file(path);
    return path.isEmpty() || (file.open(QIODevice::WriteOnly) &&
                              file.write(QByteArray::number(port) + '\n') > 0 && file.commit());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument("folder", "whose files are served");
    parser.addOption({"port-file", "where the port is written", "file"});
    parser.addOption({"slow", "how fast archives are sent", "bytes per second", "0"});
    parser.process(application);
    const QDir folder(parser.positionalArguments().value(0));
    if (parser.positionalArguments().size() != 1 || !folder.exists()) {
        parser.showHelp(2);
    }

    WebServer server;
    const qint64 speed = parser.value("slow").toLongLong();
    server.setFinder([&](const WebRequest &request) { return routeFor(folder, request, speed); });
    if (!writePort(parser.value("port-file"), server.port())) {
        std::fputs("the port can't be written\n", stderr);
        return 1;
    }
    std::printf("%d\n", int{server.port()});
    std::fflush(stdout);
    return QCoreApplication::exec();
}
