#include "platform/CaptureAdapters.h"

#include "platform/AccessibleSelectionReader.h"
#include "platform/AccessibleWordReader.h"
#include "platform/ClipboardSnapshots.h"
#include "platform/FrontmostApplication.h"
#include "platform/GlobalHotKeys.h"
#include "platform/GlobalPointerEvents.h"
#include "platform/KeySynthesizer.h"
#include "platform/PointerSampler.h"
#include "platform/PowerAssertions.h"
#include "platform/PrimarySelection.h"
#include "platform/ScreenText.h"
#include "platform/SystemActivityEvents.h"
#include "platform/SystemPermissions.h"

// Here, where every adapter's type is complete, so each OS's factory and the tests share it.
CaptureAdapters::CaptureAdapters() = default;
CaptureAdapters::CaptureAdapters(CaptureAdapters&&) noexcept = default;
CaptureAdapters& CaptureAdapters::operator=(CaptureAdapters&&) noexcept = default;
CaptureAdapters::~CaptureAdapters() = default;
