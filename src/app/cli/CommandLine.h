#pragma once

#include "core/RejectReason.h"

#include <QString>
#include <QStringList>
#include <optional>

// The commands the `quillet` binary answers without starting the agent.
namespace CommandLine {

enum ExitStatus : int {
    success = 0,
    refused = 1, // the text filter turned the text down
    failed = 2,  // the lookup found nothing or could not run
    usage = 64,
};

// The exit status of the command named by argv, or nothing when argv names no command
// (then the caller starts the agent).
std::optional<int> run(int argc, char** argv);
// Prints how the commands are called to standard error and returns `usage`.
int reportUsage();

// What `lookup` and `check` are given after their name.
struct TextInvocation {
    bool json = false;
    bool all = false; // every dictionary's answer (`lookup` only)
    QString text;     // the remaining arguments joined by single spaces
};
// Options come first; "--" ends them so a text may itself start with "--". Nothing when an
// option is unknown.
std::optional<TextInvocation> parseText(const QStringList& arguments);
// The filter's verdict on a text asked for on the command line, as on a selection.
std::optional<RejectReason> firstRejection(const QString& text);

} // namespace CommandLine
