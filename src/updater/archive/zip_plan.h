#pragma once

#include "updater/archive/zip_archive.h"
#include "updater/archive/zip_reader.h"

#include <vector>

// What unpacking an archive will make, checked as a whole before anything is made.
namespace qv
{

struct ZipNode {
    enum class Kind { Folder, File, Link };
    Kind kind = Kind::Folder;
    int parent = -1; // an earlier node, always a folder; -1 at the top
    QByteArray name;
    ZipPlace place;                  // of files and links
    bool isExecutable = false;       // of files
    std::optional<qint64> date = {}; // seconds of Unix time
};

struct ZipPlan {
    std::vector<ZipNode> nodes; // each folder before what it holds
    quint64 bytes = 0;          // of all contents

    // Relative to where the archive is unpacked.
    QByteArray pathOf(const ZipNode &node) const;
};

// The reason is for people.
tl::expected<ZipPlan, QString> planOf(ZipReader &archive, const UnpackLimits &limits,
                                      const std::atomic<bool> *isCancelled);

// The target of a link, or why it can't be taken.
tl::expected<QByteArray, QString> linkTarget(ZipReader &archive, const ZipPlan &plan,
                                             const ZipNode &link);

QString unpackingCancelled();

} // namespace qv
