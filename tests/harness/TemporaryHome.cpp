#include "harness/TemporaryHome.h"

bool useTemporaryHome(const QTemporaryDir& home) {
    if (!home.isValid())
        return false;
    qputenv("HOME", home.path().toUtf8());
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        qunsetenv(variable);
    return true;
}
