#include "platform/MemoryHygiene.h"

#include "platform/linux/memory/GlibcTunables.h"
#include "platform/posix/StartEnvironment.h"
#include "platform/posix/VectorRegisters.h"

#include <cerrno>
#include <malloc.h>
#include <string.h>
#include <unistd.h>

namespace MemoryHygiene {
namespace {

const StartEnvironment::Variable& allocatorSetting() {
    static const StartEnvironment::Variable setting{"GLIBC_TUNABLES", GlibcTunables::withScrubbing};
    return setting;
}

} // namespace

void prepareEnvironmentForExec() {
    StartEnvironment::prepareForExec(allocatorSetting());
}

std::optional<QString> ensureAtStart(char** argv) {
    return StartEnvironment::ensureAtStart(allocatorSetting(), [argv] {
        ::execv("/proc/self/exe", argv);
        return errno;
    });
}

[[gnu::noinline]] void clearScratch() {
    // Deeper than a clipboard change's handling goes: the filter, ICU and Qt's conversions.
    unsigned char region[64 * 1024];
    ::explicit_bzero(region, sizeof region);
    VectorRegisters::clear();
}

// glibc would raise its mmap threshold after freeing a large block and serve the next ones
// from the heap; a fixed threshold hands every large block back when it is freed.
void returnLargeBlocks() {
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    mallopt(M_TRIM_THRESHOLD, 1024 * 1024);
}

} // namespace MemoryHygiene
