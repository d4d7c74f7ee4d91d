#pragma once

#include <QString>

// Where the program finds its files.
namespace AppPaths {

// The bundled word database: $QUILLET_DICTIONARY_PATH when set, else dictionary.sqlite next
// to the executable (build tree), else <prefix>/share/quillet/dictionary.sqlite (installed).
// Returns the first candidate that exists, or the installed location when none does.
QString wordDatabase();

} // namespace AppPaths
