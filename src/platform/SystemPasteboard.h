#pragma once

#include "platform/Pasteboard.h"

#include <memory>

// The clipboard of the desktop the program runs on. Needs the GUI application object.
std::unique_ptr<Pasteboard> makeSystemPasteboard();
