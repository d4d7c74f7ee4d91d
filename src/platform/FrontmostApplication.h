#pragma once

#include <QString>
#include <optional>

// The application whose window is in front.
class FrontmostApplication {
public:
    struct Application {
        QString identifier; // bundle identifier; on X11 the WM_CLASS class, lower-cased
        QString name;       // localized name; on X11 the WM_CLASS class
        qint64 pid = 0;     // 0 when unknown
        bool isOwn = false; // a window of this program
    };

    virtual ~FrontmostApplication() = default;

    // Nothing when no window is active or it cannot be read.
    virtual std::optional<Application> current() const = 0;
};
