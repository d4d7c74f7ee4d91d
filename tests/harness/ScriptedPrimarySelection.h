#pragma once

#include "platform/PrimarySelection.h"

// The desktop's last selection, as the test sets it: an owner change at a server time, and its
// text (nothing for an owner that offers none or does not answer).
class ScriptedPrimarySelection final : public PrimarySelection {
public:
    void select(const QString& text, quint64 atServerTime) {
        m_text = text;
        m_changedAt = atServerTime;
    }
    void offerNoText(quint64 atServerTime) {
        m_text.reset();
        m_changedAt = atServerTime;
    }

    bool ownerChangedSince(quint64 serverTime) const override {
        return m_changedAt && *m_changedAt >= serverTime;
    }
    QCoro::Task<std::optional<QString>> read(std::chrono::milliseconds) override {
        ++m_reads;
        co_return std::optional<QString>(m_text);
    }
    int reads() const { return m_reads; }

private:
    std::optional<QString> m_text;
    std::optional<quint64> m_changedAt;
    int m_reads = 0;
};
