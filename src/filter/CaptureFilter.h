#pragma once

#include "filter/RejectReason.h"
#include "filter/TranslationLimit.h"

#include <QDateTime>
#include <QString>
#include <optional>

// The last text accepted for lookup, for the duplicate rule.
struct PreviousQuery {
    QString text;
    QDateTime date;
};

// The fixed chain of rules that captured text passes before it is looked up.
namespace CaptureFilter {

enum class Channel {
    clipboard, // copied text: "filter.showsEverything" may let ignorable reasons through
    onDemand,  // selection, region and hover: always filtered in full
};

struct Capture {
    QString text;
    Channel channel = Channel::onDemand;
    bool isConcealed = false; // a password field or a concealed clipboard type
    bool isRemote = false;    // clipboard only: came from another device
};

struct Settings {
    TranslationLimit lengthLimit = TranslationLimit::standard;
    bool showsEverything = false;
};

// How long an identical text counts as a duplicate.
constexpr qint64 duplicateWindowMs = 60'000;

// Why a text is not looked up, and whether it holds key material. A text refused for another
// reason first (an address, a shared link, its length) may still hold a key or a password;
// then, as for a secret, no copy of it is kept or logged.
struct Refusal {
    RejectReason reason;
    bool holdsSecrets = false;

    bool keepsNoCopy() const {
        return holdsSecrets || RejectReasons::keepsNoCopy(reason) || reason == RejectReason::empty;
    }
    bool operator==(const Refusal&) const = default;
};

// The first rule the text breaks, or nothing when it may be looked up.
std::optional<Refusal> firstRejection(const Capture& capture, const Settings& settings,
                                      const std::optional<PreviousQuery>& previous,
                                      const QDateTime& now);

} // namespace CaptureFilter
