#pragma once

#include <QString>
#include <optional>

// Small chat models wrap a translation in things nobody asked for: reasoning in <think>
// blocks, "翻译：" labels, quotes, code fences, the English original, notes. This keeps only
// the translation.
namespace ModelAnswerCleanup {

// The Simplified Chinese translation of `source` found in `answer`, or nothing when the answer
// holds none. A single word given back unchanged is passed on as it is (the caller knows what
// an echoed word means); any other answer without Chinese for English text is no translation.
std::optional<QString> translation(const QString& answer, const QString& source);

} // namespace ModelAnswerCleanup
