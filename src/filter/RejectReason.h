#pragma once

#include <QSet>
#include <QString>
#include <optional>

// Why a captured text is not looked up. Raw values are stable: 0–9 in this order.
enum class RejectReason : int {
    empty = 0,
    concealed = 1,
    remoteClipboard = 2,
    tooLong = 3,
    duplicate = 4,
    urlOrPath = 5,
    sharedLink = 6,
    secretLike = 7,
    notEnglish = 8,
    codeIdentifier = 9,
};

namespace RejectReasons {
constexpr int rawValue(RejectReason reason) {
    return static_cast<int>(reason);
}
std::optional<RejectReason> fromRawValue(int raw);
// The case name as scripts see it, e.g. "urlOrPath".
QString caseName(RejectReason reason);
// Short text for event-log lines.
QString description(RejectReason reason);
// Text shown in the panel.
QString userFacing(RejectReason reason);
// The text must not be logged or kept after the check.
bool keepsNoCopy(RejectReason reason);
} // namespace RejectReasons

inline size_t qHash(RejectReason reason, size_t seed = 0) noexcept {
    return ::qHash(static_cast<int>(reason), seed);
}
