#include "process/system_call_filter.h"

#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qv
{
namespace
{

#if defined(__x86_64__)
constexpr std::uint32_t nativeCalls = AUDIT_ARCH_X86_64;
constexpr std::array refused{SYS_chmod, SYS_chown,  SYS_lchown,
                             SYS_utime, SYS_utimes, SYS_futimesat};
#else
constexpr std::uint32_t nativeCalls = AUDIT_ARCH_AARCH64;
constexpr std::array<int, 0> refused{};
#endif

// Calls by a queue in shared memory would pass by the filter.
constexpr int ioUringSetup = 425;
constexpr int fchmodat2 = 452;
constexpr int setxattrat = 463;
constexpr int removexattrat = 466;
constexpr int fileSetattr = 469;

constexpr std::array refusedEverywhere{
    SYS_socket,       ioUringSetup,     SYS_truncate, SYS_fchmod,    SYS_fchmodat,  fchmodat2,
    SYS_fchown,       SYS_fchownat,     SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, SYS_removexattr,
    SYS_lremovexattr, SYS_fremovexattr, setxattrat,   removexattrat, fileSetattr,   SYS_utimensat};

// On x86, calls with this bit are the same ones under other numbers.
constexpr std::uint32_t otherNumbers = 0x40000000;

constexpr sock_filter load(size_t offset)
{
    return {BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset)};
}

// Goes on with the next instruction when it holds, else passes over so many.
constexpr sock_filter unless(std::uint16_t comparison, std::uint32_t value, std::uint8_t skipped)
{
    return {static_cast<std::uint16_t>(BPF_JMP | comparison | BPF_K), 0, skipped, value};
}

constexpr sock_filter answer(std::uint32_t what)
{
    return {BPF_RET | BPF_K, 0, 0, what};
}

constexpr sock_filter denial = answer(SECCOMP_RET_ERRNO | EACCES);
constexpr size_t callCount = refused.size() + refusedEverywhere.size();
constexpr size_t fixedParts = 11;

using Program = std::array<sock_filter, fixedParts + 2 * callCount>;

constexpr Program makeProgram()
{
    Program program{};
    size_t end = 0;
    const auto add = [&](sock_filter instruction) { program[end++] = instruction; };
    const auto refuse = [&](long number) {
        add(unless(BPF_JEQ, static_cast<std::uint32_t>(number), 1));
        add(denial);
    };
    // Programs of another kind number their calls otherwise.
    add(load(offsetof(seccomp_data, arch)));
    add({BPF_JMP | BPF_JEQ | BPF_K, 1, 0, nativeCalls});
    add(answer(SECCOMP_RET_KILL_PROCESS));
    add(load(offsetof(seccomp_data, nr)));
    add(unless(BPF_JGE, otherNumbers, 1));
    add(answer(SECCOMP_RET_KILL_PROCESS));
    for (const auto number : refused) {
        refuse(number);
    }
    for (const auto number : refusedEverywhere) {
        refuse(number);
    }
    add(unless(BPF_JEQ, SYS_ioctl, 3));
    add(load(offsetof(seccomp_data, args[1])));
    refuse(TIOCSTI);
    add(answer(SECCOMP_RET_ALLOW));
    return program;
}

constexpr Program program = makeProgram();

} // namespace

bool SystemCallFilter::isOffered()
{
    static const bool offered = [] {
        std::uint32_t action = SECCOMP_RET_ERRNO;
        return ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
    }();
    return offered;
}

bool SystemCallFilter::enter()
{
    if (!isOffered()) {
        return true;
    }
    // Old kernels would slow the processor down for whoever is filtered; decoders keep no secrets.
    sock_fprog filter{static_cast<unsigned short>(program.size()),
                      const_cast<sock_filter *>(program.data())};
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW,
                     &filter) == 0;
}

} // namespace qv

#else

namespace qv
{

bool SystemCallFilter::isOffered()
{
    return false;
}

bool SystemCallFilter::enter()
{
    return true;
}

} // namespace qv

#endif
