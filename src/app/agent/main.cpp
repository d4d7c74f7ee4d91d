#include "QuilletApp.h"

// Started by `quillet` when it is given no command.
int main(int argc, char** argv) {
    return QuilletApp::run(argc, argv);
}
