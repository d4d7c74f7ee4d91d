#pragma once

#include "platform/FrontmostApplication.h"

// The application in front, as the test puts it there.
class ScriptedFrontmost final : public FrontmostApplication {
public:
    std::optional<Application> application =
        Application{.identifier = QStringLiteral("org.example.reader"),
                    .name = QStringLiteral("Reader"),
                    .pid = 4242};

    std::optional<Application> current() const override { return application; }

    void bringForward(const QString& identifier, const QString& name, bool isOwn = false) {
        application =
            Application{.identifier = identifier, .name = name, .pid = 4243, .isOwn = isOwn};
    }
};
