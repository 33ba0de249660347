#include "process/system_call_filter.h"

#include <cerrno>

#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))

#include <array>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Calls that the headers of Debian 12 don't know yet.
constexpr std::uint32_t fchmodat2 = 452;
constexpr std::uint32_t setxattrat = 463;
constexpr std::uint32_t removexattrat = 466;
constexpr std::uint32_t fileSetattr = 469;

// Calls that change files without a right to write them, and io_uring, whose queue in shared memory
// bypasses the filter.
constexpr std::uint32_t changes[] = {
    SYS_truncate,     SYS_fchmod,       SYS_fchmodat,       fchmodat2,     SYS_fchown,
    SYS_fchownat,     SYS_setxattr,     SYS_lsetxattr,      SYS_fsetxattr, SYS_removexattr,
    SYS_lremovexattr, SYS_fremovexattr, setxattrat,         removexattrat, fileSetattr,
    SYS_utimensat,    SYS_socket,       SYS_io_uring_setup,
#if defined(__x86_64__)
    SYS_chmod,        SYS_chown,        SYS_lchown,         SYS_utime,     SYS_utimes,
    SYS_futimesat,
#endif
};

// Calls that reach for other processes, or that only a tool which root runs could make.
constexpr std::uint32_t reaches[] = {
    SYS_setsid,
    SYS_setpgid,
    SYS_tkill,
    SYS_rt_sigqueueinfo,
    SYS_rt_tgsigqueueinfo,
    SYS_pidfd_send_signal,
    SYS_pidfd_getfd,
    SYS_ptrace,
    SYS_process_vm_readv,
    SYS_process_vm_writev,
    SYS_shmget,
    SYS_shmat,
    SYS_shmctl,
    SYS_semget,
    SYS_semctl,
    SYS_msgget,
    SYS_msgctl,
    SYS_mq_open,
    SYS_add_key,
    SYS_request_key,
    SYS_keyctl,
    SYS_unshare,
    SYS_setns,
    SYS_mount,
    SYS_umount2,
    SYS_pivot_root,
    SYS_chroot,
    SYS_open_tree,
    SYS_move_mount,
    SYS_fsopen,
    SYS_fspick,
    SYS_mount_setattr,
    SYS_open_by_handle_at,
    SYS_bpf,
    SYS_perf_event_open,
    SYS_userfaultfd,
    SYS_init_module,
    SYS_finit_module,
    SYS_delete_module,
    SYS_kexec_load,
    SYS_reboot,
    SYS_swapon,
    SYS_swapoff,
    SYS_settimeofday,
    SYS_clock_settime,
    SYS_adjtimex,
    SYS_clock_adjtime,
    SYS_sethostname,
    SYS_setdomainname,
    SYS_quotactl,
    SYS_acct,
};

// On x86, calls with this bit are the same ones under other numbers.
constexpr std::uint32_t otherNumbers = 0x40000000;

constexpr std::uint32_t allowed = SECCOMP_RET_ALLOW;

constexpr std::uint32_t failing(std::uint32_t error)
{
    return SECCOMP_RET_ERRNO | error;
}

// A filter program (seccomp(2), bpf in its classic form), built while compiling.
class Program
{
public:
    constexpr explicit Program(bool mayStartProcesses)
    {
#if defined(__x86_64__)
        startChecks(AUDIT_ARCH_X86_64);
#else
        startChecks(AUDIT_ARCH_AARCH64);
#endif
        for (const std::uint32_t call : changes) {
            refuse(call, EACCES);
        }
        for (const std::uint32_t call : reaches) {
            refuse(call, EPERM);
        }
        // Its flags lie in memory, where no filter sees them; libraries then use openat().
        refuse(SYS_openat2, ENOSYS);
        checkOpening(SYS_openat, 2);
#if defined(__x86_64__)
        checkOpening(SYS_open, 1);
#endif
        checkSignals(SYS_kill);
        checkSignals(SYS_tgkill);
        checkLimits();
        refuseArgument(SYS_ioctl, 1, TIOCSTI);
        refuseArgument(SYS_ioctl, 1, TIOCLINUX);
        // It would outlive the application.
        refuseArgument(SYS_prctl, 0, PR_SET_PDEATHSIG);
        if (!mayStartProcesses) {
            checkStarting();
        }
        answer(allowed);
    }

    // The same for the process with this number. False: errno says why.
    bool install(pid_t process) const
    {
        Program own = *this;
        for (size_t i = 0; i < m_processCount; ++i) {
            own.m_code[m_processSlots[i]].k = static_cast<std::uint32_t>(process);
        }
        sock_fprog filter{static_cast<unsigned short>(m_end), own.m_code.data()};
        // Without the flag old kernels slow the processor down; decoders keep no secrets.
        return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW,
                         &filter) == 0;
    }

private:
    // Programs of another kind number their calls otherwise.
    constexpr void startChecks(std::uint32_t architecture)
    {
        load(offsetof(seccomp_data, arch));
        goOnIf(BPF_JEQ, architecture, 1, 0);
        answer(SECCOMP_RET_KILL_PROCESS);
        load(offsetof(seccomp_data, nr));
        goOnIf(BPF_JGE, otherNumbers, 0, 1);
        answer(SECCOMP_RET_KILL_PROCESS);
    }

    constexpr void refuse(std::uint32_t call, std::uint32_t error)
    {
        goOnIf(BPF_JEQ, call, 0, 1);
        answer(failing(error));
    }

    // To empty a file needs no right to write it where Landlock is older than version 3, unless the
    // file is opened for writing.
    constexpr void checkOpening(std::uint32_t call, size_t flags)
    {
        goOnIf(BPF_JEQ, call, 0, 7);
        loadArgument(flags);
        goOnIf(BPF_JSET, O_TRUNC, 0, 4);
        add({BPF_ALU | BPF_AND | BPF_K, 0, 0, O_ACCMODE});
        goOnIf(BPF_JEQ, O_WRONLY, 2, 0);
        goOnIf(BPF_JEQ, O_RDWR, 1, 0);
        answer(failing(EACCES));
        answer(allowed);
    }

    // Only to the process itself, as when it aborts.
    constexpr void checkSignals(std::uint32_t call)
    {
        goOnIf(BPF_JEQ, call, 0, 4);
        loadArgument(0);
        m_processSlots[m_processCount++] = m_end;
        goOnIf(BPF_JEQ, 0, 0, 1);
        answer(allowed);
        answer(failing(EPERM));
    }

    constexpr void checkLimits()
    {
        goOnIf(BPF_JEQ, SYS_prlimit64, 0, 4);
        loadArgument(0);
        goOnIf(BPF_JEQ, 0, 0, 1);
        answer(allowed);
        answer(failing(EPERM));
    }

    constexpr void refuseArgument(std::uint32_t call, size_t index, std::uint32_t value)
    {
        goOnIf(BPF_JEQ, call, 0, 4);
        loadArgument(index);
        goOnIf(BPF_JEQ, value, 0, 1);
        answer(failing(EPERM));
        load(offsetof(seccomp_data, nr));
    }

    // Threads are started by clone() with CLONE_THREAD. The flags of clone3() lie in memory;
    // libraries then use clone().
    constexpr void checkStarting()
    {
        refuse(SYS_clone3, ENOSYS);
#if defined(__x86_64__)
        refuse(SYS_fork, EPERM);
        refuse(SYS_vfork, EPERM);
#endif
        goOnIf(BPF_JEQ, SYS_clone, 0, 4);
        loadArgument(0);
        goOnIf(BPF_JSET, CLONE_THREAD, 0, 1);
        answer(allowed);
        answer(failing(EPERM));
    }

    constexpr void load(size_t offset)
    {
        add({BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset)});
    }

    // The lower half of the argument, on processors that store it first.
    constexpr void loadArgument(size_t index)
    {
        load(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t));
    }

    // Passes over so many instructions, depending on how the comparison with `value` ends.
    constexpr void goOnIf(std::uint16_t comparison, std::uint32_t value, std::uint8_t skippedIfTrue,
                          std::uint8_t skippedIfFalse)
    {
        add({static_cast<std::uint16_t>(BPF_JMP | comparison | BPF_K), skippedIfTrue,
             skippedIfFalse, value});
    }

    constexpr void answer(std::uint32_t what)
    {
        add({BPF_RET | BPF_K, 0, 0, what});
    }

    constexpr void add(sock_filter instruction)
    {
        m_code[m_end++] = instruction;
    }

    std::array<sock_filter, 256> m_code{};
    size_t m_end = 0;
    std::array<size_t, 2> m_processSlots{}; // instructions that compare with the process's number
    size_t m_processCount = 0;
};

constexpr Program threadsOnly(false);
constexpr Program withProcesses(true);

} // namespace

bool SystemCallFilter::enter(bool mayStartProcesses)
{
    return (mayStartProcesses ? withProcesses : threadsOnly).install(::getpid());
}

} // namespace qv

#else

namespace qv
{

bool SystemCallFilter::enter(bool)
{
    errno = ENOSYS;
    return false;
}

} // namespace qv

#endif
