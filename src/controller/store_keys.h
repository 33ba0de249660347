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
// The steps of the encoding, and the flag of the last one.
inline const QString stepBatch = QStringLiteral("encBatch");
inline const QString stepProcesses = QStringLiteral("encProcesses");
inline const QString finish = QStringLiteral("encFin");
inline const QString work = QStringLiteral("processEncDico");
// What stands for the source after a stop.
inline const QString cancelled = QStringLiteral("cancel");
inline const QString replaceFiles = QStringLiteral("replaceFilesCheck");

} // namespace qv::keys
