#include "desktop/QtSpeaker.h"
#include "dictionary/Pronouncer.h"

using namespace Qt::StringLiterals;

// Apart from the rest of Pronouncer so the command line never links the speech engines.
Pronouncer& Pronouncer::shared() {
    // Never destroyed: speech plugins must not be unloaded after the application object.
    static Pronouncer* const pronouncer =
        new Pronouncer(std::make_unique<QtSpeaker>(QStringList{u"speechd"_s, u"flite"_s}));
    return *pronouncer;
}
