#pragma once

#include <QTemporaryDir>

// Points HOME at `home` and clears the XDG folder variables, so nothing a test (or a program
// it starts) does touches the real user's files. False when `home` could not be made.
bool useTemporaryHome(const QTemporaryDir& home);
