#pragma once

// Shows the user where the system's dictionaries are managed: on Linux the folder that
// dictionaries are installed into (created if missing), in the desktop's file manager. Main
// thread only.
namespace DictionarySettingsOpener {

// False when nothing could be opened.
bool open();

} // namespace DictionarySettingsOpener
