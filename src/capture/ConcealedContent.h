#pragma once

#include <QStringList>

class Pasteboard;

// Whether the clipboard's owner marked its content secret or transient: the macOS types some
// Linux programs offer too, and the hint KeePassXC sets and KDE's clipboard history honours.
bool isConcealedContent(const Pasteboard& pasteboard, const QStringList& types);
