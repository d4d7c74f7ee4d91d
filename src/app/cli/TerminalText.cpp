#include "cli/TerminalText.h"

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace TerminalText {
namespace {

bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
}

QString escaped(QStringView text, bool keepsLayout) {
    QString result;
    result.reserve(text.size());
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (!isControl(unit) || (keepsLayout && (unit == u'\n' || unit == u'\t')))
            result.append(character);
        else
            result += u"\\x"_s + QString::number(unit, 16).rightJustified(2, u'0').toUpper();
    }
    return result;
}

} // namespace

QString safe(QStringView text) {
    return escaped(text, true);
}

QString oneLine(QStringView text) {
    return escaped(text, false);
}

bool isTerminal(FILE* stream) {
    return ::isatty(::fileno(stream)) == 1;
}

} // namespace TerminalText
