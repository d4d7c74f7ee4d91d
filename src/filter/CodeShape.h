#pragma once

#include <QStringView>

// Whether a text is code rather than prose: statements and declarations, shell command lines,
// queries, indented blocks. Prose that quotes a little code ("Call print() to see what it
// returns.") stays prose. Linear in the text's length.
namespace CodeShape {

bool looksLikeCode(QStringView text);

} // namespace CodeShape
