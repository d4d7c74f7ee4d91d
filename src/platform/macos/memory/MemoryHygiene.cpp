// memset_s is declared only for a file that asks for it before its first C header.
#define __STDC_WANT_LIB_EXT1__ 1

#include "platform/MemoryHygiene.h"

#include "platform/posix/StartEnvironment.h"
#include "platform/posix/VectorRegisters.h"

#include <cerrno>
#include <cstdint>
#include <mach-o/dyld.h>
#include <string.h>
#include <unistd.h>
#include <vector>

namespace MemoryHygiene {
namespace {

// libmalloc fills every freed block when MallocScribble is set as the program starts.
const StartEnvironment::Variable& allocatorSetting() {
    static const StartEnvironment::Variable setting{"MallocScribble",
                                                    [](std::optional<std::string_view>) {
                                                        return std::string("1");
                                                    }};
    return setting;
}

int executeSelf(char** argv) {
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::vector<char> path(size + 1, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0)
        return ENOENT;
    ::execv(path.data(), argv);
    return errno;
}

} // namespace

void prepareEnvironmentForExec() {
    StartEnvironment::prepareForExec(allocatorSetting());
}

std::optional<QString> ensureAtStart(char** argv) {
    return StartEnvironment::ensureAtStart(allocatorSetting(),
                                           [argv] { return executeSelf(argv); });
}

[[gnu::noinline]] void clearScratch() {
    // Deeper than a clipboard change's handling goes: the filter, ICU and Qt's conversions.
    unsigned char region[64 * 1024];
    ::memset_s(region, sizeof region, 0, sizeof region);
    VectorRegisters::clear();
}

// The system allocator returns large blocks by itself.
void returnLargeBlocks() {}

} // namespace MemoryHygiene
