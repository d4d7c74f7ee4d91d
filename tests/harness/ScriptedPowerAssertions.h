#pragma once

#include "platform/PowerAssertions.h"

#include <QSet>

// Processes, their assertions and their media players as a test sets them up.
class ScriptedPowerAssertions final : public PowerAssertions {
public:
    std::optional<ByProcess> held = ByProcess{};
    QSet<qint32> regular;
    QSet<qint32> helpers;
    QHash<qint32, qint32> responsible;
    QHash<qint32, QString> names;
    QHash<qint32, bool> players;
    int reads = 0;
    bool watching = false;

    void start() override { watching = true; }
    void stop() override { watching = false; }
    std::optional<ByProcess> assertionsByProcess() override {
        ++reads;
        return held;
    }
    bool isRegularApplication(qint32 pid) override { return regular.contains(pid); }
    bool isMediaHelper(qint32 pid) override { return helpers.contains(pid); }
    qint32 responsibleFor(qint32 pid) override { return responsible.value(pid); }
    QString processName(qint32 pid) override { return names.value(pid); }
    std::optional<bool> mediaPlaying(qint32 pid) override {
        if (!players.contains(pid))
            return std::nullopt;
        return players.value(pid);
    }

    void hold(qint32 pid, const QString& type, const QString& name = QStringLiteral("video")) {
        (*held)[pid].append({.type = type, .name = name});
    }
};
