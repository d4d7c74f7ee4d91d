// The coordinator's side of hover lookup (the word under the resting pointer) and box lookup
// (the text in a box the user draws).
#include "base/UnicodeText.h"
#include "capture/PermissionCenter.h"
#include "capture/PointerDwellMonitor.h"
#include "capture/PointerWordFinder.h"
#include "capture/RecognizedText.h"
#include "core/AppCore.h"
#include "core/LookupPresenter.h"
#include "core/RegionPicker.h"
#include "filter/TextFilter.h"
#include "logs/EventLog.h"
#include "platform/CaptureAdapters.h"
#include "platform/PlatformTexts.h"
#include "platform/PointerSampler.h"
#include "platform/ScreenText.h"
#include "platform/SystemPermissions.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QPointer>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 pointerRepeatSeconds = 15;
// A box smaller than this on either side was a slip, not a box.
constexpr int smallestRegion = 4;
constexpr std::chrono::milliseconds regionRecognitionLimit{4000};

double steadyNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

QString AppCore::pointerFeature() {
    return u"悬停取词"_s;
}

QString AppCore::regionFeature() {
    return u"截图查询"_s;
}

const ScreenText* AppCore::screenText() const {
    return m_deps.capture ? m_deps.capture->screenText.get() : nullptr;
}

void AppCore::makePointerSources() {
    const CaptureAdapters* adapters = m_deps.capture;
    if (!adapters || !adapters->pointerSampler)
        return;
    m_dwell = std::make_unique<PointerDwellMonitor>(
        *adapters->pointerSampler, m_deps.log, *m_deps.timers,
        m_deps.steadySeconds ? m_deps.steadySeconds : steadyNow);
    m_wordFinder = std::make_unique<PointerWordFinder>(
        PointerWordFinder::Dependencies{.words = adapters->words.get(),
                                        .screen = adapters->screenText.get(),
                                        .permissions = *adapters->permissions,
                                        .sampler = *adapters->pointerSampler});
    m_screenRecordingSeen = screenRecordingGranted();
    m_dwell->setCallbacks({
        .holdAnnounced = [this] { m_deps.presenter.showPointerHint(true); },
        .holdEnded =
            [this] {
                m_dwellDelay.reset();
                m_deps.presenter.showPointerHint(false);
            },
        .dwell = [this](QPointF point) { handleDwell(point); },
        .doubleTap = [this] { beginRegionLookup(); },
    });
}

bool AppCore::screenRecordingGranted() const {
    return m_deps.capture && m_deps.capture->permissions &&
           m_deps.capture->permissions->isGranted(SystemPermissions::Kind::screenRecording);
}

void AppCore::applyPointerRunState() {
    if (!m_dwell)
        return;
    m_dwell->setKey(m_deps.triggers.pointerKey());
    const bool hoverRuns = !m_systemPaused && !m_deps.triggers.isMuted() &&
                           m_deps.triggers.pointerLookupEnabled() && screenRecordingGranted();
    if (hoverRuns && !m_dwell->isRunning()) {
        if (!m_dwell->start())
            m_deps.log.append(EventLog::Kind::error,
                              u"悬停取词｜无法监听按键，按着取词键打字也会取词"_s);
        // Loaded now, off the main thread, so the first resting pointer does not wait for it.
        if (m_deps.capture->screenText)
            m_deps.capture->screenText->prepare();
    } else if (!hoverRuns && m_dwell->isRunning()) {
        m_dwell->stop();
        m_dwellDelay.reset();
        ++m_pointerGeneration;
        if (m_deps.capture->screenText && !m_deps.triggers.pointerLookupEnabled())
            m_deps.capture->screenText->release();
    }
}

void AppCore::checkScreenRecordingStillGranted() {
    if (!m_permissions || screenRecordingGranted()) {
        m_screenRecordingSeen = m_screenRecordingSeen || m_permissions;
        applyRunState();
        return;
    }
    // Only a grant that was there can be lost; one missing from the start keeps hover
    // lookup from running and says nothing.
    if (m_deps.triggers.pointerLookupEnabled() && m_screenRecordingSeen) {
        m_permissions->awaitGrant(PermissionCenter::Feature::pointerLookup);
        m_deps.triggers.setPointerLookupEnabled(false);
        m_deps.log.append(EventLog::Kind::error, u"悬停取词已停用"_s);
        m_deps.presenter.showNotice(u"「屏幕录制」授权不在了，重新授权即可恢复。"_s);
    }
    applyRunState();
}

void AppCore::handleDwell(QPointF point) {
    ++m_pointerGeneration;
    // The monitor reports a rest of its own fixed length; the user's dwell time is the rest.
    const auto extra = std::chrono::milliseconds(qRound64(
        std::max(0.0, m_deps.preferences.hoverDwellSeconds() - PointerDwellMonitor::restSeconds) *
        1000));
    if (extra.count() == 0) {
        lookUpWord(point);
        return;
    }
    m_dwellDelay = m_deps.timers->start(extra, [this, point] {
        // Dropping the timer destroys this callback: copy what the read needs first.
        AppCore* core = this;
        const QPointF at = point;
        core->m_dwellDelay.reset();
        core->lookUpWord(at);
    });
}

QCoro::Task<void> AppCore::lookUpWord(QPointF point) {
    if (!m_wordFinder)
        co_return;
    const quint64 generation = ++m_pointerGeneration;
    const QPointer<AppCore> self(this);
    const PointerWordFinder::Outcome outcome = co_await m_wordFinder->find(point);
    if (!self || generation != m_pointerGeneration)
        co_return;
    if (const auto* found = std::get_if<PointerWordFinder::Found>(&outcome)) {
        m_deps.log.append(EventLog::Kind::trigger,
                          u"悬停取词｜取到「"_s + EventLog::privateSegment(found->word) +
                              (found->recognized ? u"」（文字识别）"_s : u"」（辅助功能）"_s));
        lookUpPointerWord(found->word);
    } else if (const auto* moved = std::get_if<PointerWordFinder::PointerMoved>(&outcome)) {
        m_deps.log.append(
            EventLog::Kind::reject,
            u"悬停取词｜识别期间指针已移开（%1 像素），这次不取"_s.arg(qRound(moved->distance)));
    } else {
        showPointerMiss(std::get<PointerWordFinder::Miss>(outcome));
    }
}

void AppCore::showPointerMiss(PointerWordFinder::Miss miss) {
    using Miss = PointerWordFinder::Miss;
    QString text;
    QString logged;
    switch (miss) {
    case Miss::noWordInText:
        text = u"指针下没有英文单词"_s;
        break;
    case Miss::noWordRecognized:
        text = u"指针处没有英文单词"_s;
        break;
    case Miss::unreadable:
        text = u"未能读取指针处的文字"_s;
        break;
    case Miss::ownWindow:
        text = u"指针在本 App 的窗口上"_s;
        break;
    case Miss::passwordField:
        text = u"密码输入框，已跳过"_s;
        break;
    case Miss::notAuthorized:
        text = u"未授权屏幕录制"_s;
        logged = u"悬停取词｜未授权屏幕录制"_s;
        break;
    case Miss::engineMissing:
        text = u"未能读取指针处的文字"_s;
        break;
    }
    m_deps.log.append(EventLog::Kind::reject,
                      logged.isEmpty() ? pointerFeature() + u"｜"_s + text : logged);
    // What to install is said once; after that, the short miss.
    if (miss != Miss::engineMissing || !noteRecognitionMissing())
        m_deps.presenter.showNotice(text);
}

bool AppCore::noteRecognitionMissing() {
    if (m_recognitionMissingNoted)
        return false;
    m_recognitionMissingNoted = true;
    const QString text = PlatformTexts::recognitionDataMissing();
    m_deps.log.append(EventLog::Kind::error, u"文字识别｜"_s + text);
    m_deps.presenter.showNotice(text);
    return true;
}

void AppCore::lookUpPointerWord(const QString& word) {
    const QDateTime now = m_deps.now();
    if (m_lastPointerWord && m_lastPointerWord->word.compare(word, Qt::CaseInsensitive) == 0 &&
        m_lastPointerWord->date.secsTo(now) < pointerRepeatSeconds) {
        m_deps.log.append(EventLog::Kind::reject, u"悬停取词｜15 秒内查过同一个词"_s);
        return;
    }
    m_lastPointerWord = PointerWord{word, now};
    const QString trimmed = UnicodeText::trimmed(word);
    if (trimmed.size() < 2 || TextFilter::kind(trimmed) != QueryKind::word) {
        m_deps.log.append(EventLog::Kind::reject,
                          u"悬停取词｜不是单词｜"_s + EventLog::privateSegment(trimmed));
        return;
    }
    if (!passesOnDemandFilter(trimmed, false, pointerFeature()))
        return;
    m_deps.log.append(EventLog::Kind::trigger,
                      u"悬停取词｜停留｜"_s + EventLog::privateSegment(trimmed));
    run(trimmed, true);
}

QCoro::Task<void> AppCore::beginRegionLookup() {
    if (m_regionOpen)
        co_return;
    if (!m_deps.regionPicker || !m_deps.capture || !m_deps.capture->screenText)
        co_return;
    if (!screenRecordingGranted()) {
        m_deps.log.append(EventLog::Kind::reject, u"截图查询｜未授权屏幕录制"_s);
        m_deps.presenter.showNotice(u"未授权屏幕录制"_s);
        co_return;
    }
    m_regionOpen = true;
    const QPointer<AppCore> self(this);
    const std::optional<QRect> region = co_await m_deps.regionPicker->pick();
    if (!self)
        co_return;
    m_regionOpen = false;
    co_await lookUpRegion(region);
}

QCoro::Task<void> AppCore::lookUpRegion(std::optional<QRect> region) {
    if (!region || region->width() < smallestRegion || region->height() < smallestRegion) {
        m_deps.log.append(EventLog::Kind::reject, u"截图查询｜取消"_s);
        co_return;
    }
    if (!m_deps.capture || !m_deps.capture->screenText)
        co_return;
    const QPointer<AppCore> self(this);
    const QRect area = *region;
    const ScreenText::Outcome read = co_await m_deps.capture->screenText->read(
        area, ScreenText::Layout::block, regionRecognitionLimit);
    if (!self)
        co_return;
    if (const auto* failure = std::get_if<ScreenText::Failure>(&read)) {
        switch (*failure) {
        case ScreenText::Failure::timedOut:
            m_deps.log.append(EventLog::Kind::error, u"截图查询｜点按｜识别超时"_s);
            m_deps.presenter.showNotice(u"未能读取框内的文字"_s);
            break;
        case ScreenText::Failure::notAuthorized:
            m_deps.log.append(EventLog::Kind::reject, u"截图查询｜未授权屏幕录制"_s);
            m_deps.presenter.showNotice(u"未授权屏幕录制"_s);
            break;
        case ScreenText::Failure::engineMissing:
            if (!noteRecognitionMissing())
                m_deps.presenter.showNotice(u"未能读取框内的文字"_s);
            break;
        case ScreenText::Failure::captureFailed:
            m_deps.log.append(EventLog::Kind::error, u"截图查询｜未能读取框内的文字"_s);
            m_deps.presenter.showNotice(u"未能读取框内的文字"_s);
            break;
        case ScreenText::Failure::superseded:
            // A newer read took its place and answers instead.
            break;
        }
        co_return;
    }
    const QString text = RecognizedText::regionText(std::get<ScreenText::Recognition>(read));
    if (text.isEmpty()) {
        m_deps.log.append(EventLog::Kind::reject, u"截图查询｜框内没有英文"_s);
        m_deps.presenter.showNotice(u"框内没有英文"_s);
        co_return;
    }
    m_deps.log.append(EventLog::Kind::trigger,
                      u"截图查询｜点按｜"_s + EventLog::privateSegment(text));
    if (passesOnDemandFilter(text, false, regionFeature()))
        run(text, true);
}
