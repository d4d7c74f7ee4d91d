#pragma once

#include <memory>

class AccessibleSelectionReader;
class AccessibleWordReader;
class ClipboardSnapshots;
class FrontmostApplication;
class GlobalHotKeys;
class GlobalPointerEvents;
class KeySynthesizer;
class PointerSampler;
class PowerAssertions;
class PrimarySelection;
class ScreenText;
class SystemActivityEvents;
class SystemPermissions;

// This OS's adapters for text capture. Needs the GUI application object; main thread only.
struct CaptureAdapters {
    // What the adapters share (a window-system connection); outlives them.
    std::shared_ptr<void> shared;
    std::unique_ptr<GlobalPointerEvents> pointer;
    std::unique_ptr<GlobalHotKeys> hotKeys;
    std::unique_ptr<FrontmostApplication> frontmost;
    std::unique_ptr<KeySynthesizer> keys;
    std::unique_ptr<PrimarySelection> primary;
    std::unique_ptr<ClipboardSnapshots> snapshots;
    std::unique_ptr<AccessibleSelectionReader> accessible;
    std::unique_ptr<SystemPermissions> permissions;
    // Hover and box lookup; any may be missing, and then those features are not offered.
    std::unique_ptr<PointerSampler> pointerSampler;
    std::unique_ptr<AccessibleWordReader> words;
    std::unique_ptr<ScreenText> screenText;
    // Screen lock, sleep and user switch, which pause every source; who keeps the display
    // awake (video playing). Either may be missing: then nothing pauses, nothing plays.
    std::unique_ptr<SystemActivityEvents> activity;
    std::unique_ptr<PowerAssertions> powerAssertions;

    CaptureAdapters();
    CaptureAdapters(CaptureAdapters&&) noexcept;
    CaptureAdapters& operator=(CaptureAdapters&&) noexcept;
    ~CaptureAdapters();
};

CaptureAdapters makeCaptureAdapters();
