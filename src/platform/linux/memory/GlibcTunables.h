#pragma once

#include <optional>
#include <string>
#include <string_view>

// The value of GLIBC_TUNABLES ("name=value:name=value…") that has glibc's allocator overwrite
// every block it takes back, with the user's other tunables kept.
namespace GlibcTunables {

// Freed memory is filled with this byte; fresh blocks with its complement.
constexpr int kPerturbByte = 0xa5;

std::string withScrubbing(std::optional<std::string_view> current);

} // namespace GlibcTunables
