#pragma once

#include <QString>
#include <QStringList>

// What a command and all that it starts read of one file.
namespace bench
{

struct Reads {
    qint64 calls = 0; // of read, pread, readv and preadv
    qint64 bytes = 0; // that these returned
};

struct TracedReads {
    Reads source;    // of the file, by all processes
    Reads all;       // of all files, pipes and sockets
    Reads kernel;    // the same by the kernel's own counters (rchar, syscr)
    int status = -1; // exit status of the command; 128 when it crashed, -1 when it did not start
};

// Runs the command with its standard streams at /dev/null. Memory mappings are no reads. Only while
// this process has no other children.
TracedReads traceReads(const QStringList &command, const QString &file);

// That this process has read so far, with all children that were waited for (rchar).
double kernelBytesRead();

// Bytes that came from the disk while the command ran, none of the file being in the page cache
// when it began; read-ahead included. Negative when the command fails.
qint64 bytesFetched(const QStringList &command, const QString &file);

} // namespace bench
