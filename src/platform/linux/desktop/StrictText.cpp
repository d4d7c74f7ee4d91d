#include "platform/linux/desktop/StrictText.h"

#include <QStringDecoder>

namespace {

void chopTerminatingZeros(QByteArray& bytes) {
    while (bytes.endsWith('\0'))
        bytes.chop(1);
}

} // namespace

std::optional<QString> checkedText(QString text) {
    // A zero byte never occurs in text.
    if (text.isEmpty() || text.contains(QChar(0)) || text.contains(QChar::ReplacementCharacter))
        return std::nullopt;
    return text;
}

std::optional<QString> strictUtf8(QByteArray bytes) {
    chopTerminatingZeros(bytes);
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return checkedText(std::move(text));
}

std::optional<QString> strictLatin1(QByteArray bytes) {
    chopTerminatingZeros(bytes);
    // Every byte is a Latin-1 character: only the zero byte tells binary data apart.
    if (bytes.isEmpty() || bytes.contains('\0'))
        return std::nullopt;
    return QString::fromLatin1(bytes);
}
