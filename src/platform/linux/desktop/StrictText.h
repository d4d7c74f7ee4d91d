#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Text as X11 owners hand it over, or nothing when the bytes are no text: broken UTF-8, a zero
// byte inside, or nothing at all. A terminating zero, which some owners add, is not part of it.
std::optional<QString> strictUtf8(QByteArray bytes);
std::optional<QString> strictLatin1(QByteArray bytes);
// Text already decoded by someone less strict: U+FFFD marks bytes it could not read.
std::optional<QString> checkedText(QString text);
