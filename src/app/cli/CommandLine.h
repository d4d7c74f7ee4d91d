#pragma once

#include "filter/CaptureFilter.h"
#include "filter/RejectReason.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

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
// Prints `problem` (one line: what was wrong) and how `command` is called to standard error
// and returns `usage`. Without a command, every command's form is shown.
int usageError(const QString& problem, const QString& command = {});
// A usage error that names no problem, for the command being run.
int reportUsage();
// Whether the arguments of a command ask for its help ("-h" or "--help" before any "--").
bool asksForHelp(const QStringList& arguments);

// The longest text, in characters, the command line looks up.
qsizetype lengthLimit();

// What `lookup` and `check` are given after their name.
struct TextInvocation {
    bool json = false;
    bool all = false;  // every dictionary's answer (`lookup` only)
    bool help = false; // "-h" or "--help" among the options
    QString text;      // the remaining arguments joined by single spaces
};
// Options come first; "--" ends them so a text may itself start with "--", and an argument
// with white space in it is text already. An unknown option or no text at all is the problem
// to report.
std::variant<TextInvocation, QString> parseText(const QStringList& arguments);
// After a change: when it could not be written (full disk, read-only folder), says why on
// standard error and gives the exit status; nothing when everything is on disk. A change is
// reported as done only once it is.
std::optional<int> unsavedChanges();
// The filter's verdict on a text asked for on the command line, as on a selection.
std::optional<CaptureFilter::Refusal> firstRejection(const QString& text);

} // namespace CommandLine
