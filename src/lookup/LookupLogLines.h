#pragma once

#include "lookup/LookupError.h"
#include "lookup/LookupResult.h"

#include <QString>

// The event-log contents that tell what a lookup ended in. Looked-up text only ever appears
// inside private segments.
namespace LookupLogLines {

// "词典｜" + one summary per entry joined by " ‖ ", or "翻译｜" + the term and the translation.
QString summary(const LookupResult& result);
// "词典和翻译里都没有 " + the query for a not-found error, else the error's own text.
QString failure(const LookupError& error);

} // namespace LookupLogLines
