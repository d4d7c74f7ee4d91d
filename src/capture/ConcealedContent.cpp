#include "capture/ConcealedContent.h"

#include "platform/Pasteboard.h"

using namespace Qt::StringLiterals;

bool isConcealedContent(const Pasteboard& pasteboard, const QStringList& types) {
    if (types.contains(u"org.nspasteboard.ConcealedType"_s) ||
        types.contains(u"org.nspasteboard.TransientType"_s))
        return true;
    const QString hint = u"x-kde-passwordManagerHint"_s;
    return types.contains(hint) && pasteboard.data(hint).trimmed() == "secret"_ba;
}
