#pragma once

#include <QString>

// Keys of the working state in the preferences store: no settings, gone when a run has ended.
namespace qv::keys
{

inline const QString analysisQueue = QStringLiteral("analysisSrcPathesDico");
inline const QString analysisQueueHead = QStringLiteral("analysisSrcHeadInt");
inline const QString analysisSource = QStringLiteral("analysisSrcPathStr");
inline const QString analysisRecord = QStringLiteral("analysisSrcCurrentDico");
// The steps of the analysis, in their order; a set flag means that the step is due.
inline const QString flagBegin = QStringLiteral("analysisDeb");
inline const QString flagFfmpeg = QStringLiteral("analysisFfmpeg");
inline const QString flagResult = QStringLiteral("analysisFfmpegResult");
inline const QString flagParse = QStringLiteral("analysisFfmpegParse");
inline const QString flagRecord = QStringLiteral("analysisDico");
inline const QString flagDuration = QStringLiteral("analysisDuree"); // only when it is in doubt
inline const QString flagFinish = QStringLiteral("analysisFin");
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
