#pragma once

#include "platform/ScreenText.h"

#include <QList>
#include <functional>
#include <optional>

// A screen whose text the test lays out. A read answers the words inside the area; a test can
// act while it runs (`beforeAnswer`).
class ScriptedScreenText final : public ScreenText {
public:
    QList<Word> words;
    std::optional<Failure> failure;
    bool prepared = false;

    void prepare() override { prepared = true; }
    void release() override { prepared = false; }

    QCoro::Task<Outcome> read(QRect area, Layout layout, std::chrono::milliseconds limit) override {
        reads.append({area, layout, limit});
        if (beforeAnswer)
            beforeAnswer();
        if (failure)
            co_return Outcome(*failure);
        Recognition recognition{area, {}};
        for (const Word& word : words)
            if (QRectF(area).intersects(word.box))
                recognition.words.append(word);
        co_return Outcome(std::move(recognition));
    }

    // Lays out one line of words at `origin`, each `width` wide and 16 high, 8 apart.
    void layLine(QPointF origin, const QStringList& line, int lineIndex = 0, double width = 60) {
        double x = origin.x();
        for (const QString& text : line) {
            words.append(Word{text, QRectF(x, origin.y(), width, 16), 90, lineIndex});
            x += width + 8;
        }
    }

    struct Read {
        QRect area;
        Layout layout;
        std::chrono::milliseconds limit;
    };
    QList<Read> reads;
    // Runs inside each read, before it answers (moves the pointer while recognition runs).
    std::function<void()> beforeAnswer;
};
