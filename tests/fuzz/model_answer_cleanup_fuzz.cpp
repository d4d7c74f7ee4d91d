// libFuzzer target: arbitrary text as a model's answer to an arbitrary original, both UTF-8,
// split at the first NUL byte (original first).
#include "FuzzCheck.h"
#include "base/UnicodeText.h"
#include "platform/linux/translation/ModelAnswerCleanup.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const char* text = reinterpret_cast<const char*>(data);
    const auto* nul = static_cast<const char*>(std::memchr(text, 0, size));
    const size_t sourceSize = nul ? size_t(nul - text) : 0;
    const QString source = QString::fromUtf8(text, qsizetype(sourceSize));
    const QString answer = nul ? QString::fromUtf8(nul + 1, qsizetype(size - sourceSize - 1))
                               : QString::fromUtf8(text, qsizetype(size));

    const std::optional<QString> kept = ModelAnswerCleanup::translation(answer, source);
    if (!kept)
        return 0;
    require(!kept->isEmpty(), "a translation is never empty");
    require(UnicodeText::trimmed(*kept) == *kept, "a translation has no blanks around it");
    require(!kept->contains(u'\r'), "line ends are plain");
    require(!kept->contains(u"\n\n"), "no empty lines");
    require(!kept->contains(u"<think>", Qt::CaseInsensitive) &&
                !kept->contains(u"</think>", Qt::CaseInsensitive),
            "reasoning never shows");
    return 0;
}
