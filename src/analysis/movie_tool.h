#pragma once

#include "analysis/movie_framework.h"

#include <QByteArray>
#include <QDateTime>
#include <QMap>

#include <mutex>

// The movie framework by way of the bundle's tool "qtThumbs", so that no decoder runs in this
// process. Without the tool nothing can be opened.
namespace qv
{

class MovieTool final : public MovieFramework
{
public:
    // Only what has a video stream of which a picture could be decoded.
    bool canOpen(const QString &path) override;
    // Asks the tool once and waits, unless the answers were given before.
    bool hasDecoder(const QString &fourCharacterCode) override;
    void setDecoders(const QMap<QString, bool> &decoders);
    std::optional<MediaInfoRecord> record(const QString &path) override;
    bool thumbnail(const QString &path, int width, int height, double seconds,
                   const QString &destination) override;

private:
    void notePlugins();

    // The source of the last answer as it was then.
    struct Source {
        QString path;
        qint64 size = -1;
        QDateTime modified;
        bool operator==(const Source &) const = default;
    };
    Source m_source;
    bool m_pluginsNoted = false;
    std::optional<MediaInfoRecord> m_record;
    std::mutex m_decodersMutex; // they may come while a source is asked about on another thread
    std::optional<QMap<QString, bool>> m_decoders;
};

// The record in what the tool printed, its values checked: keys that are unknown, of a wrong type
// or beyond all reason are left out. Nothing without a record, or without a video stream's size.
std::optional<MediaInfoRecord> parseMovieRecord(const QByteArray &printed);

// Whether there is a decoder, by four-character code ("WMV "); empty when the tool did not say.
QMap<QString, bool> parseDecoders(const QByteArray &printed);
// What the tool that tells the decoders is built on ("GStreamer 1.22.0"); null when it did not say.
QString parseFrameworkVersion(const QByteArray &printed);

} // namespace qv
