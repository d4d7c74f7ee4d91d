#include "platform/linux/memory/GlibcTunables.h"

#include <array>

namespace GlibcTunables {
namespace {

// glibc fills a block with the perturb byte when it is freed, but a small block freed into
// the thread's cache skips that: with no cache, every free goes the filling way.
const std::array<std::string, 2> kScrubbing = {
    "glibc.malloc.perturb=" + std::to_string(kPerturbByte),
    "glibc.malloc.tcache_count=0",
};

std::string_view nameOf(std::string_view tunable) {
    return tunable.substr(0, tunable.find('='));
}

bool isOurs(std::string_view tunable) {
    for (const std::string& ours : kScrubbing) {
        if (nameOf(tunable) == nameOf(ours))
            return true;
    }
    return false;
}

} // namespace

std::string withScrubbing(std::optional<std::string_view> current) {
    std::string value;
    const auto append = [&value](std::string_view tunable) {
        if (!value.empty())
            value += ':';
        value += tunable;
    };
    // The user's own values for these two give way: glibc takes the last of several, and a
    // single one is easier to check.
    std::string_view rest = current.value_or(std::string_view());
    while (!rest.empty()) {
        const std::size_t colon = rest.find(':');
        const std::string_view tunable = rest.substr(0, colon);
        if (!tunable.empty() && !isOurs(tunable))
            append(tunable);
        rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    for (const std::string& ours : kScrubbing)
        append(ours);
    return value;
}

} // namespace GlibcTunables
