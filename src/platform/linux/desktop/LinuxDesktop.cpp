// The desktop adapters Linux uses, picked here and nowhere else.
#include "platform/SystemPasteboard.h"
#include "platform/linux/desktop/QtPasteboard.h"

// The clipboard: Qt's, with the X server's own requests where Qt has none (XFixes).
std::unique_ptr<Pasteboard> makeSystemPasteboard() {
    return std::make_unique<QtPasteboard>();
}
