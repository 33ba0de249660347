#include "traced_reads.h"

#include "measuring.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <optional>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench
{
namespace
{

// A value of this process, with all children that were waited for.
qint64 kernelCounter(const QByteArray &name)
{
    QFile file(QStringLiteral("/proc/self/io"));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(name + ": ")) {
                return line.mid(name.size() + 2).toLongLong();
            }
        }
    }
    return 0;
}

Reads kernelReads()
{
    return {kernelCounter("syscr"), kernelCounter("rchar")};
}

struct FileId {
    dev_t device = 0;
    ino_t number = 0;
};

std::optional<FileId> idOf(const QByteArray &path)
{
    struct stat status {
    };
    return ::stat(path.constData(), &status) == 0
               ? std::optional(FileId{status.st_dev, status.st_ino})
               : std::nullopt;
}

bool isRead(quint64 call)
{
    return call == SYS_read || call == SYS_pread64 || call == SYS_readv || call == SYS_preadv ||
           call == SYS_preadv2;
}

[[noreturn]] void becomeCommand(std::vector<char *> &arguments)
{
    const int null = ::open("/dev/null", O_RDWR);
    for (int stream = 0; stream < 3; ++stream) {
        ::dup2(null, stream);
    }
    ::close(null);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGSTOP);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

// Stops every thread of the command and its descendants at each system call.
class Tracer
{
public:
    Tracer(pid_t command, FileId file) : m_command(command), m_file(file) {}

    TracedReads run()
    {
        int status = 0;
        ::waitpid(m_command, &status, 0);
        ::ptrace(PTRACE_SETOPTIONS, m_command, nullptr,
                 PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                     PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
        ::ptrace(PTRACE_SYSCALL, m_command, nullptr, nullptr);
        m_known[m_command] = {};
        pid_t thread = 0;
        while ((thread = ::waitpid(-1, &status, __WALL)) > 0 || errno == EINTR) {
            if (thread > 0) {
                noteChange(thread, status);
            }
        }
        return m_reads;
    }

private:
    enum class Read { None, OfSource, Other };

    void noteChange(pid_t thread, int status)
    {
        if (!WIFSTOPPED(status)) {
            m_known.erase(thread);
            if (thread == m_command) {
                m_reads.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
            }
            return;
        }
        ::ptrace(PTRACE_SYSCALL, thread, nullptr, signalToPass(thread, status));
    }

    long signalToPass(pid_t thread, int status)
    {
        const int signal = WSTOPSIG(status);
        if (signal == (SIGTRAP | 0x80)) {
            noteSystemCall(thread);
            return 0;
        }
        const bool isEvent = status >> 16 != 0;
        const bool isNew = m_known.try_emplace(thread, Read::None).second;
        return isEvent || (isNew && signal == SIGSTOP) ? 0 : signal;
    }

    void noteSystemCall(pid_t thread)
    {
        struct __ptrace_syscall_info info {
        };
        if (::ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info) <= 0) {
            return;
        }
        Read &pending = m_known[thread];
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            pending = isRead(info.entry.nr) ? readOf(thread, info.entry.args[0]) : Read::None;
        } else if (info.op == PTRACE_SYSCALL_INFO_EXIT && pending != Read::None) {
            count(m_reads.all, info.exit.rval);
            if (pending == Read::OfSource) {
                count(m_reads.source, info.exit.rval);
            }
            pending = Read::None;
        }
    }

    Read readOf(pid_t thread, quint64 descriptor) const
    {
        const auto file =
            idOf("/proc/" + QByteArray::number(thread) + "/fd/" + QByteArray::number(descriptor));
        return file && file->device == m_file.device && file->number == m_file.number
                   ? Read::OfSource
                   : Read::Other;
    }

    static void count(Reads &reads, qint64 result)
    {
        ++reads.calls;
        reads.bytes += std::max<qint64>(0, result);
    }

    pid_t m_command;
    FileId m_file;
    std::map<pid_t, Read> m_known; // threads, and the read that each is in
    TracedReads m_reads;
};

} // namespace

TracedReads traceReads(const QStringList &command, const QString &file)
{
    const auto source = idOf(QFile::encodeName(file));
    if (!source) {
        return {};
    }
    std::vector<QByteArray> texts;
    for (const QString &argument : command) {
        texts.push_back(QFile::encodeName(argument));
    }
    std::vector<char *> arguments;
    for (QByteArray &text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    const Reads before = kernelReads();
    const pid_t process = ::fork();
    if (process < 0) {
        return {};
    }
    if (process == 0) {
        becomeCommand(arguments);
    }
    TracedReads traced = Tracer(process, *source).run();
    const Reads after = kernelReads();
    traced.kernel = {after.calls - before.calls, after.bytes - before.bytes};
    return traced;
}

double kernelBytesRead()
{
    return static_cast<double>(kernelCounter("rchar"));
}

qint64 bytesFetched(const QStringList &command, const QString &file)
{
    const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return -1;
    }
    ::fsync(descriptor);
    ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
    ::close(descriptor);
    const qint64 before = kernelCounter("read_bytes");
    const bool isGood = run(command).status == 0;
    return isGood ? kernelCounter("read_bytes") - before : -1;
}

} // namespace bench
