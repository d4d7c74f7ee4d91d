#pragma once

#include <QSet>
#include <QString>

// Applications whose text capture treats specially, by the identifier FrontmostApplication
// reports. Each OS has its own lists.
namespace CaptureLists {

// Password managers, secret prompts and the login screen: never read.
const QSet<QString>& passwordManagers();
// Applications where the copy combination does something else (terminals: Ctrl+C stops the
// running job), so no copy is simulated there.
bool refusesSimulatedCopy(const QString& identifier);

} // namespace CaptureLists
