#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

// What the application asks of the operating system beyond Qt. Another system needs another
// platform.cpp, nothing else.
namespace qv::platform
{

// The running executable, links resolved; empty when unknown.
QString executablePath();
// What the machine computes with. The architecture in the system's word: "x86_64", "arm64".
struct Processor {
    QString architecture;
    int wordBits = 0;
    bool hasSse2 = false;
    int cores = 0;
};
Processor processor();

// To be called first in main(). Standard input reads as empty: tools inherit it, and one that reads
// commands from it would eat the list that a shell loop reads. A stream that came closed is opened,
// else the next file, such as a sheet, would get its number and what is printed. Ends of children
// are noticed also when whoever started us ignores them.
void prepareStandardStreams();

// What standard input is, for this process alone and beyond prepareStandardStreams(); -1 when it
// came closed.
int keptStandardInput();
// What standard output is, for this process alone: tools that inherit it print to standard error
// from then on. -1 when it came closed.
int takenStandardOutput();

// The login name of the process's user, from the user database; empty when unknown.
QString loginName();

// Bytes that an ordinary user can still write on the volume that holds the path, or the error. 0
// also when it takes no more files.
struct FreeSpace {
    std::optional<quint64> bytes;
    QString error;
};
FreeSpace freeSpace(const QString &path);

// When the item was made: birth time, or the time of its last modification where the file system
// keeps none. Invalid when there is no such item.
QDateTime creationTime(const QString &path);
// Gives the item the times of last access and modification of another one.
bool copyTimes(const QByteArray &rawFrom, const QByteArray &rawTo);
// Two items of one volume change their places, in one step.
enum class ExchangeResult { Done, Unsupported, Failed };
ExchangeResult exchange(const QString &a, const QString &b);
// Returns when what was written to the volume that holds the path has reached the disk.
void flushVolume(const QString &path);
// Its own size in bytes, links not followed; 0 when missing.
qint64 itemSize(const QByteArray &rawPath);
// Whether another volume begins at the folder.
bool isMountPoint(const QString &path);

// One folder's entries in no order, without "." and "..". Names are the bytes of the file system,
// which need not be valid UTF-8. Nothing when the folder can't be opened. `isWhole`, when given,
// tells whether reading came to its end.
enum class EntryKind { File, Folder, LinkToFolder, Other };
struct DirectoryEntry {
    QByteArray name;
    EntryKind kind = EntryKind::Other; // a link to a file is a File, a broken one Other
};
std::optional<std::vector<DirectoryEntry>> readDirectory(const QByteArray &rawPath,
                                                         bool *isWhole = nullptr);

// Whether it is a folder (no link to one) of this process's user.
bool isOwnFolder(const QString &path);
// Makes a new folder for this user only whose name begins with the prefix; empty when it can't.
QString makePrivateFolder(const QString &prefix);
// Keeps others out of a folder of this user's. False when that failed.
bool makePrivate(const QString &folder);

// Opens the file, made when missing for this user only, and locks it until the descriptor is
// closed, at the latest by the end of the process, however it comes.
struct LockedFile {
    enum class State { Locked, HeldByAnother, Unusable };
    State state = State::Unusable; // not to be made, or not a plain file of this user's
    int descriptor = -1;
};
LockedFile lockFile(const QString &path);
// Whether the process at the other end of a local socket runs as this process's user.
bool isPeerThisUser(qintptr socket);

// Points standard output (1) or standard error (2) at the file, created when missing, for
// appending. False when that failed; the stream then stays as it was.
bool reopenStream(int descriptor, const QString &path);

// While it lives, processes that this thread starts keep to a part of the processors that this one
// may use: the part-th of `parts` like ones, or a single processor when there are more parts.
class ProcessorShare
{
public:
    ProcessorShare(int part, int parts);
    ~ProcessorShare();
    ProcessorShare(const ProcessorShare &) = delete;
    ProcessorShare &operator=(const ProcessorShare &) = delete;

private:
    std::vector<int> m_all; // empty: nothing was changed
};

} // namespace qv::platform
