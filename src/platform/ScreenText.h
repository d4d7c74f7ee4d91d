#pragma once

#include <QCoroTask>
#include <QList>
#include <QRect>
#include <QRectF>
#include <QString>
#include <chrono>
#include <variant>

// Reads text off the screen: captures a rectangle and recognises the words in it. Capture
// and recognition run off the main thread; a call only awaits them.
class ScreenText {
public:
    struct Word {
        QString text;
        QRectF box;        // screen coordinates
        double confidence; // 0…100
        int line = 0;      // words of one line share it; lines numbered top to bottom
    };
    struct Recognition {
        QRect area;        // what was read, in screen coordinates (clipped to the screens)
        QList<Word> words; // in reading order
    };
    enum class Failure {
        notAuthorized, // the system does not let the program look at the screen
        captureFailed, // the area could not be captured (off every screen, a capture error)
        engineMissing, // the recognition engine or its English data is not installed
        timedOut,      // recognition did not finish within the limit, and was stopped
        superseded,    // a newer read took its place before it began, or the reader shut down
    };
    using Outcome = std::variant<Recognition, Failure>;
    // A word under the pointer is a few glyphs in one line; a region is a block of lines.
    enum class Layout { aroundPoint, block };

    virtual ~ScreenText() = default;

    // The recognition engine and its English data are installed (a cheap check of files).
    virtual bool hasEngine() const { return true; }
    // Loads the engine ahead of the first read, off the main thread. Idempotent; a read
    // without it loads the engine first.
    virtual void prepare() = 0;
    // Frees the engine (hover lookup stopped); the next read loads it again.
    virtual void release() = 0;
    // One read runs at a time; a newer read while one waits answers the waiting one
    // `superseded`.
    virtual QCoro::Task<Outcome> read(QRect area, Layout layout,
                                      std::chrono::milliseconds limit) = 0;
};
