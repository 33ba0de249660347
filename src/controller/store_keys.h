#pragma once

#include <QString>

// Keys of the working state in the preferences store: no settings, gone when a run has ended.
namespace qv::keys
{

inline const QString analysisQueue = QStringLiteral("analysisSrcPathesDico");
inline const QString analysisQueueHead = QStringLiteral("analysisSrcHeadInt");
inline const QString analysisSource = QStringLiteral("analysisSrcPathStr");
inline const QString analysisRecord = QStringLiteral("analysisSrcCurrentDico");
inline const QString previewPath = QStringLiteral("imgPathStr");

inline const QString currentFile = QStringLiteral("encCurrentProcessingFile");
inline const QString work = QStringLiteral("processEncDico");
inline const QString replaceFiles = QStringLiteral("replaceFilesCheck");

} // namespace qv::keys
