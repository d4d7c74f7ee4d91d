#include "lookup/Gloss.h"

#include <QSet>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A lone word or phrase is looked at closely; in a sentence one sense per piece keeps the
// line readable.
constexpr qsizetype kSensesOfALonePiece = 3;

bool isArticle(const QString& headword) {
    return headword == u"a"_s || headword == u"an"_s || headword == u"the"_s;
}

} // namespace

QString GlossPiece::name() const {
    const QString written = text.simplified();
    return written.toLower() == headword ? written : headword;
}

qsizetype Gloss::glossedCount() const {
    return std::count_if(pieces.begin(), pieces.end(),
                         [](const GlossPiece& piece) { return piece.isGlossed(); });
}

QString Gloss::line() const {
    const bool lone = glossedCount() == 1;
    QStringList parts;
    QSet<QString> named;
    for (const GlossPiece& piece : pieces) {
        if (!piece.isGlossed())
            continue;
        if (!lone && (isArticle(piece.headword) || named.contains(piece.headword)))
            continue;
        named.insert(piece.headword);
        const QStringList senses = piece.senses.mid(0, lone ? kSensesOfALonePiece : 1);
        parts.append(piece.name() + u' ' + senses.join(u"，"_s));
    }
    return parts.join(u"；"_s);
}
