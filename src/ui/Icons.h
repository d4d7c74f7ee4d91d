#pragma once

#include <QIcon>
#include <QString>

// The program's icons, drawn from the SVG files in resources/icons. Rendered here rather
// than through the SVG icon-engine plugin, which a deployed build may lack.
class Icons {
public:
    // The application's mark (a quill over an open book), for the tray and windows.
    static QIcon app();
    // The mark faded, for the tray while automatic lookups are paused.
    static QIcon appPaused();
    // A 20-pixel panel glyph by file stem: "copy", "star", "star-filled", "speak", "book",
    // "check", "info", "alert", "download" (or "quillet", the mark itself).
    static QIcon panel(const QString& name);
};
