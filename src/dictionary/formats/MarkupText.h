#pragma once

#include <QString>
#include <QStringView>

// Dictionary entries written in markup, reduced to the plain text a reader would see: tags
// dropped, line breaks kept (from <br> and block tags, and from the text itself where the
// markup treats new lines as breaks), common character entities decoded.
namespace MarkupText {

enum class Flavour {
    html,  // white space collapses; breaks come from tags only
    pango, // new lines in the text are breaks
    xdxf,  // new lines in the text are breaks; <tr> is a transcription, shown in brackets
};

QString toPlainText(QStringView markup, Flavour flavour);

} // namespace MarkupText
