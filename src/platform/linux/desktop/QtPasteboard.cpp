#include "platform/linux/desktop/QtPasteboard.h"

#include "platform/linux/desktop/StrictText.h"
#include "platform/linux/desktop/XcbInputScrubber.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Qt hands this format over byte for byte, so broken UTF-8 stays visible. Under "text/plain"
// an X11 owner's UTF8_STRING arrives already decoded, with broken bytes replaced by U+FFFD.
const QString kUtf8Text = u"text/plain;charset=utf-8"_s;
// Names of the X11 selection protocol that an owner lists among its targets; no content.
const QStringList kProtocolTargets = {u"TARGETS"_s, u"MULTIPLE"_s, u"TIMESTAMP"_s,
                                      u"SAVE_TARGETS"_s};

bool isText(const QString& format) {
    return format == u"text/plain" || format.startsWith(u"text/plain;");
}

} // namespace

QtPasteboard::QtPasteboard(QObject* parent) : QObject(parent) {
    m_clipboard = QGuiApplication::clipboard();
    if (!m_clipboard)
        return;
    if (auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        m_inputScrubber = std::make_unique<XcbInputScrubber>(x11->connection());
    // The PRIMARY selection changes with every text selection; only copies count.
    connect(m_clipboard, &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode != QClipboard::Clipboard)
            return;
        ++m_changeCount;
        if (m_listener)
            m_listener();
    });
}

QtPasteboard::~QtPasteboard() = default;

bool QtPasteboard::listenForChanges(std::function<void()> listener) {
    m_listener = std::move(listener);
    // Without the clipboard nothing changes, and polling finds that out just as well.
    return m_clipboard != nullptr;
}

std::optional<QString> QtPasteboard::plainText() const {
    const QMimeData* mime = m_clipboard ? m_clipboard->mimeData(QClipboard::Clipboard) : nullptr;
    if (!mime)
        return std::nullopt;
    const QStringList formats = mime->formats();
    if (formats.contains(kUtf8Text))
        return strictUtf8(mime->data(kUtf8Text));
    if (!std::any_of(formats.begin(), formats.end(), isText))
        return std::nullopt;
    return checkedText(mime->text());
}

QStringList QtPasteboard::types() const {
    const QMimeData* mime = m_clipboard ? m_clipboard->mimeData(QClipboard::Clipboard) : nullptr;
    if (!mime)
        return {};
    QStringList formats = mime->formats();
    formats.removeIf([](const QString& format) { return kProtocolTargets.contains(format); });
    return formats;
}

QByteArray QtPasteboard::data(const QString& type) const {
    const QMimeData* mime = m_clipboard ? m_clipboard->mimeData(QClipboard::Clipboard) : nullptr;
    return mime ? mime->data(type) : QByteArray();
}

void QtPasteboard::writeText(const QString& text) {
    if (m_clipboard)
        m_clipboard->setText(text, QClipboard::Clipboard);
}

void QtPasteboard::forgetLastRead() {
    // Nothing to report when it fails: without XFixes Qt sees no new clipboard owners, so
    // nothing was read; XFixes without regions is older than 2003; a broken connection ends
    // the program.
    if (m_inputScrubber)
        m_inputScrubber->scrub();
}
