// Preloaded into a program that is measured: prints when its first window is painted.
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr const char *flushName = "_ZN13QBackingStore5flushERK7QRegionP7QWindowRK6QPoint";

using Flush = void (*)(void *self, const void *region, void *window, const void *offset);

// The application sends its standard output into its log later.
const int output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);

void tellOnce()
{
    static bool told = false;
    if (!told) {
        told = true;
        timespec now{};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        ::dprintf(output, "first paint: %lld\n",
                  static_cast<long long>(now.tv_sec) * 1'000'000'000 +
                      static_cast<long long>(now.tv_nsec));
    }
}

} // namespace

// QBackingStore::flush: what was painted is brought to the screen.
extern "C" void
flushed(void *self, const void *region, void *window,
        const void *offset) __asm__("_ZN13QBackingStore5flushERK7QRegionP7QWindowRK6QPoint");

extern "C" __attribute__((visibility("default"))) void flushed(void *self, const void *region,
                                                               void *window, const void *offset)
{
    static const auto real = reinterpret_cast<Flush>(::dlsym(RTLD_NEXT, flushName));
    real(self, region, window, offset);
    tellOnce();
}
