#include "harness/ScriptedPasteboard.h"

#include <QStringDecoder>

using namespace Qt::StringLiterals;

void ScriptedPasteboard::copy(Content content) {
    m_content = std::move(content);
    moveCounter(1);
}

bool ScriptedPasteboard::listenForChanges(std::function<void()> listener) {
    m_listener = std::move(listener);
    return m_announcesChanges;
}

void ScriptedPasteboard::moveCounter(int by) {
    if (by == 0)
        return;
    m_changeCount += by;
    if (m_announcesChanges && m_listener)
        m_listener();
}

void ScriptedPasteboard::copyText(const QString& text, const Content& extra) {
    copy(Content{{u"text/plain"_s, text.toUtf8()}} + extra);
}

void ScriptedPasteboard::copyImage() {
    copy({{u"image/png"_s, QByteArray::fromHex("89504e470d0a1a0a0000000d49484452")}});
}

void ScriptedPasteboard::deliverLateNotices() {
    moveCounter(std::exchange(m_lateNotices, 0));
}

std::optional<QString> ScriptedPasteboard::plainText() const {
    ++m_contentReads;
    for (const auto& [type, bytes] : m_content) {
        if (type != u"text/plain" && type != u"text/plain;charset=utf-8")
            continue;
        QByteArray text = bytes;
        while (text.endsWith('\0'))
            text.chop(1);
        if (text.isEmpty() || text.contains('\0'))
            return std::nullopt;
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        QString decoded = decoder(text);
        // U+FFFD is what a decoder leaves for broken bytes; the desktop cannot tell it apart.
        if (decoder.hasError() || decoded.contains(QChar::ReplacementCharacter))
            return std::nullopt;
        return decoded;
    }
    return std::nullopt;
}

QStringList ScriptedPasteboard::types() const {
    ++m_contentReads;
    QStringList types;
    for (const auto& entry : m_content)
        types << entry.first;
    return types;
}

QByteArray ScriptedPasteboard::data(const QString& type) const {
    ++m_contentReads;
    for (const auto& [name, bytes] : m_content) {
        if (name == type)
            return bytes;
    }
    return {};
}

void ScriptedPasteboard::writeText(const QString& text) {
    m_content = {{u"text/plain"_s, text.toUtf8()}};
    if (m_announcesLate)
        ++m_lateNotices;
    else
        moveCounter(1);
}
