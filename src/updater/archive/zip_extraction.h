#pragma once

#include "process/child_process.h"
#include "updater/archive/zip_plan.h"

// Makes what a plan says.
namespace qv
{

class ZipExtraction
{
public:
    ZipExtraction(ZipReader &archive, const ZipPlan &plan, const std::atomic<bool> *isCancelled);

    // The folder is made when it is missing. When it fails, all that it made is gone again. The
    // reason is for people.
    tl::expected<void, QString> into(const QString &destination, quint64 keptFree);

private:
    using Done = tl::expected<void, QString>;
    Done openDestination(const QString &destination);
    Done checkSpace(const QString &destination, quint64 keptFree) const;
    Done make();
    Done makeNode(const ZipNode &node);
    Done makeFolder(const QByteArray &path);
    Done makeFile(const ZipNode &node, const QByteArray &path);
    Done writeFile(const ZipNode &node, const QByteArray &path, int file);
    Done makeLink(const ZipNode &node, const QByteArray &path);
    void dateFolders() const;
    void undo();
    bool isCancelled() const;

    ZipReader &m_archive;
    const ZipPlan &m_plan;
    const std::atomic<bool> *m_isCancelled;
    FileDescriptor m_root;
    std::vector<QByteArray> m_madeAbove;     // the destination and what leads to it
    std::vector<const ZipNode *> m_madeHere; // in the order of making
};

} // namespace qv
