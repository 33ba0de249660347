#pragma once

#include "analysis/media_info_record.h"

#include <QString>
#include <QStringList>

// One line of a report's input section into the record's keys.
namespace qv
{

class ReportLines
{
public:
    void take(const QString &line);
    // The record of all lines taken.
    MediaInfoRecord record() const;

private:
    void takeContainer(const QStringList &parts);
    void takeAudio(const QStringList &parts);
    void takeAudioPart(const QString &part);
    void takeLayout(const QString &part);
    void takeVideo(const QString &line, const QStringList &parts);
    void takeVideoPart(const QString &part);
    void takeSize(const QString &part);
    void takeSubtitle(const QStringList &parts);

    void set(const char *kind, int index, const char *field, const QVariant &value);
    void setStream(const char *kind, int index, const QString &part, QLatin1String word);
    void setCodec(const char *kind, int index, const QString &part, QLatin1String word);
    void setBitrate(const char *kind, int index, const QString &part);

    MediaInfoRecord m_record;
    int m_video = 0;
    int m_audio = 0;
    int m_subtitle = 0;
    bool m_isLayoutFound = false;
    bool m_isFilm = false; // the video line in hand
};

} // namespace qv
