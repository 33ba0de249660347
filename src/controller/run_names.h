#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

// The names of the sheets of a run whose sources are known beforehand.
namespace qv
{

struct SheetPlace {
    QString base;        // path without extension; empty: every name that it may have is taken
    QString why;         // it is not the plain one, for people; null when it is, or was before
    bool isMade = false; // the source's sheet was there already
};

// A name depends on the list and on the files of others in the folder, not on which sheets of the
// list are made already: several processes with the same list agree while they work.
class RunNames
{
public:
    // `sources` by their number in the run; a null one gets no name. Ends early when `isStopped`
    // says so; no place may be asked for then.
    RunNames(QStringList sources, const QString &folder, const QString &extension,
             const std::function<bool()> &isStopped = nullptr);
    ~RunNames();
    Q_DISABLE_COPY_MOVE(RunNames)

    // Looks into the files that have this source's names, and those of its namesakes, when it is
    // asked for the first of them.
    const SheetPlace &placeOf(qsizetype number);

private:
    class Namesakes;
    class Naming;

    SheetPlace &place(qsizetype number) { return m_places[static_cast<std::size_t>(number)]; }
    void listFolder();
    bool mayBeThere(const QString &file) const;
    // Whether a name in the folder is the file's, or would be on a disk that ignores case.
    bool hasTwin(const QString &file) const;

    QStringList m_sources;
    QString m_folder;
    QString m_extension;
    std::vector<SheetPlace> m_places;
    std::unique_ptr<Namesakes> m_namesakes;
    std::vector<std::size_t> m_names; // in the folder when the run began: hashes, sorted
    bool m_isListed = false;
};

} // namespace qv
