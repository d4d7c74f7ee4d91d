#pragma once

#include <QList>
#include <QString>

// The settings window's pages, in the order its side bar lists them.
enum class SettingsPage { general, dictionaries, filter, notebook, permissions, eventLog, about };

namespace SettingsPages {
const QList<SettingsPage>& all();
QString title(SettingsPage page);
// A stable name for tests and tools ("general", "dictionaries", …).
QString name(SettingsPage page);
} // namespace SettingsPages
