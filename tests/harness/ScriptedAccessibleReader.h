#pragma once

#include "platform/AccessibleSelectionReader.h"

// The focused control of a scripted application: what reading its selection gives.
class ScriptedAccessibleReader final : public AccessibleSelectionReader {
public:
    Outcome outcome = Miss::noFocused;

    void select(const QString& text) { outcome = Read{text, false}; }

    QCoro::Task<Outcome> read(std::chrono::milliseconds limit) override {
        ++m_reads;
        m_lastLimit = limit;
        // A copy: QCoro moves from what it is handed.
        co_return Outcome(outcome);
    }
    int reads() const { return m_reads; }
    std::chrono::milliseconds lastLimit() const { return m_lastLimit; }

private:
    int m_reads = 0;
    std::chrono::milliseconds m_lastLimit{0};
};
