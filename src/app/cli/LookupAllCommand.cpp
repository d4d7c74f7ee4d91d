#include "cli/LookupAllCommand.h"

#include "base/UnicodeText.h"
#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "cli/ResultRendering.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "filter/TextFilter.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "settings/Preferences.h"

using namespace Qt::StringLiterals;

namespace LookupAllCommand {

int run(const CommandLine::TextInvocation& invocation) {
    // The same refusals as an ordinary lookup, so nothing is read that would not be.
    if (const auto rejection = CommandLine::firstRejection(invocation.text)) {
        if (invocation.json)
            Output::line(stdout, ResultRendering::json(rejection->reason, invocation.text));
        else
            Output::line(stdout, ResultRendering::plain(rejection->reason, invocation.text));
        return CommandLine::refused;
    }
    const QString term = UnicodeText::trimmed(invocation.text);
    if (TextFilter::kind(term) != QueryKind::word) {
        Output::line(stderr, u"只有单词才能逐本词典查询。"_s);
        return CommandLine::refused;
    }

    const SystemDictionaryCatalog catalog(Preferences::shared());
    UnsupportedTranslationEngine translator(
        EventLog::shared()); // dictionaries only: nothing is translated
    const LookupEngine engine({.bundled = BundledDictionary::shared(),
                               .catalog = catalog,
                               .translator = translator,
                               .logError = {}});
    const QList<LookupResult::Source> sources = engine.wordSources(term);
    if (sources.isEmpty()) {
        const QString message = u"词典里没有「"_s + term + u"」。"_s;
        if (invocation.json)
            Output::line(stdout, ResultRendering::json(term, sources));
        else
            Output::line(stderr, message);
        return CommandLine::failed;
    }
    if (invocation.json)
        Output::line(stdout, ResultRendering::json(term, sources));
    else
        Output::line(stdout, ResultRendering::plain(term, sources));
    return CommandLine::success;
}

} // namespace LookupAllCommand
