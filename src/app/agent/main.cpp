#include "QuilletApp.h"
#include "platform/MemoryHygiene.h"
#include "platform/Platform.h"

#include <QByteArray>
#include <cstdio>

// Started by `quillet` when it is given no command.
int main(int argc, char** argv) {
    // Before anything has read a text that could be a secret.
    if (const std::optional<QString> failure = MemoryHygiene::ensureAtStart(argv))
        std::fprintf(stderr, "Quillet：释放的内存不会被清除（%s）\n",
                     failure->toUtf8().constData());
    Platform::install();
    return QuilletApp::run(argc, argv);
}
