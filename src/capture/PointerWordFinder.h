#pragma once

#include "platform/AccessibleWordReader.h"
#include "platform/ScreenText.h"

#include <QCoroTask>
#include <QPointF>
#include <QSize>
#include <QString>
#include <chrono>
#include <variant>

class PointerSampler;
class SystemPermissions;

// Finds the word under a resting pointer: through accessibility first (exact, and it knows
// password fields), then by recognising a small crop of the screen around the point.
class PointerWordFinder {
public:
    struct Found {
        QString word;
        bool recognized = false; // read off the screen rather than through accessibility
    };
    enum class Miss {
        noWordInText,     // the text under the pointer has no word there
        noWordRecognized, // nothing recognisable at the point
        unreadable,       // capture or recognition failed, or ran out of time
        ownWindow,
        passwordField,
        notAuthorized, // no screen-recording grant
        engineMissing, // no recognition engine or English data
    };
    // The pointer left while the screen was being read: the word is no longer wanted.
    struct PointerMoved {
        double distance = 0;
    };
    using Outcome = std::variant<Found, Miss, PointerMoved>;

    struct Dependencies {
        AccessibleWordReader* words = nullptr; // either may be missing
        ScreenText* screen = nullptr;
        SystemPermissions& permissions;
        PointerSampler& sampler;
    };

    static constexpr QSize cropSize{320, 64};
    static constexpr std::chrono::milliseconds accessibleLimit{250};
    static constexpr std::chrono::milliseconds recognitionLimit{1500};

    explicit PointerWordFinder(Dependencies dependencies);

    QCoro::Task<Outcome> find(QPointF point);

private:
    QCoro::Task<Outcome> recognize(QPointF point);

    Dependencies m_deps;
};
