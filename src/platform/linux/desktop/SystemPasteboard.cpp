#include "platform/SystemPasteboard.h"

#include "platform/linux/desktop/QtPasteboard.h"

std::unique_ptr<Pasteboard> makeSystemPasteboard() {
    return std::make_unique<QtPasteboard>();
}
