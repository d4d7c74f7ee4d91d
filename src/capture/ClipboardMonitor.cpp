#include "capture/ClipboardMonitor.h"

#include "capture/ConcealedContent.h"
#include "platform/MemoryHygiene.h"
#include "platform/Pasteboard.h"

#include <QScopeGuard>
#include <QTimer>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Set on content that arrived from another device (macOS only).
const QString kRemoteType = u"com.apple.is-remote-clipboard"_s;

// A change notice for our own write can come one turn of the event loop after the write
// (where the system announces a new owner asynchronously); two quiet polls mean none is
// coming, so a later copy of the same text by the user counts again.
constexpr int kOwnWriteQuietPolls = 2;

} // namespace

ClipboardMonitor::ClipboardMonitor(Pasteboard& pasteboard, std::chrono::milliseconds interval,
                                   QObject* parent)
    : QObject(parent), m_pasteboard(pasteboard) {
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &ClipboardMonitor::poll);
    m_pasteboard.listenForChanges([this] { announced(); });
}

ClipboardMonitor::~ClipboardMonitor() {
    m_pasteboard.listenForChanges(nullptr);
}

void ClipboardMonitor::start() {
    m_timer.stop();
    m_lastChangeCount = m_pasteboard.changeCount();
    m_timer.start();
}

// A stopped timer rather than a deleted one: a report may pause us from inside its tick.
void ClipboardMonitor::pause() {
    m_timer.stop();
}

void ClipboardMonitor::resume(TriggerSettings::Method method) {
    if (!m_timer.isActive() && method == TriggerSettings::Method::copy)
        start();
}

void ClipboardMonitor::poll() {
    if (!m_timer.isActive())
        return;
    const qint64 count = m_pasteboard.changeCount();
    if (count == m_lastChangeCount) {
        if (m_ownWrite && --m_ownWrite->quietPollsLeft == 0)
            m_ownWrite.reset();
        return;
    }
    takeChange(count);
}

// Checked once the announcing code has returned rather than inside it: our own write
// announces itself before writeText() has noted the counter, and the system's clipboard
// code is mid-event. A burst of announcements is one check.
void ClipboardMonitor::announced() {
    if (!std::exchange(m_checkQueued, true))
        QMetaObject::invokeMethod(this, &ClipboardMonitor::checkAnnounced, Qt::QueuedConnection);
}

// Unlike a poll, an announcement that finds nothing new says nothing about time passing, so
// it leaves the wait for the late notice of our own write alone.
void ClipboardMonitor::checkAnnounced() {
    m_checkQueued = false;
    if (!m_timer.isActive())
        return;
    const qint64 count = m_pasteboard.changeCount();
    if (count != m_lastChangeCount)
        takeChange(count);
}

void ClipboardMonitor::takeChange(qint64 count) {
    // Taken at once, so a change is considered once whether or not it carries text.
    m_lastChangeCount = count;
    // Whatever the content turns out to be (a refused secret too), once it is handled no
    // copy of it stays in the pasteboard's buffers or in the stack and registers the handling
    // used. Set up before the reads, so it runs after their results are gone.
    const auto forget = qScopeGuard([this] {
        m_pasteboard.forgetLastRead();
        MemoryHygiene::clearScratch();
    });
    const std::optional<OwnWrite> ownWrite = std::exchange(m_ownWrite, std::nullopt);
    const std::optional<QString> text = m_pasteboard.plainText();
    if (!text || !onChange)
        return;
    if (ownWrite && *text == ownWrite->text)
        return; // the late notice of our own write
    const QStringList types = m_pasteboard.types();
    onChange(ClipboardChange{*text, isConcealedContent(m_pasteboard, types),
                             types.contains(kRemoteType)});
}

void ClipboardMonitor::writeText(const QString& text) {
    m_pasteboard.writeText(text);
    m_lastChangeCount = m_pasteboard.changeCount();
    m_ownWrite = OwnWrite{text, kOwnWriteQuietPolls};
}
