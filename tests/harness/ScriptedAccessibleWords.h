#pragma once

#include "platform/AccessibleWordReader.h"

#include <QList>

// What a scripted application answers for the word under a point.
class ScriptedAccessibleWords final : public AccessibleWordReader {
public:
    Outcome outcome = Miss::noText;

    void show(const QString& word) { outcome = Word{word}; }

    QCoro::Task<Outcome> wordAt(QPointF point, std::chrono::milliseconds) override {
        points.append(point);
        // A copy: QCoro moves from what it is handed.
        co_return Outcome(outcome);
    }

    QList<QPointF> points;
};
