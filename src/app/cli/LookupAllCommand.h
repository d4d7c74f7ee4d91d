#pragma once

#include "cli/CommandLine.h"

// `quillet lookup --all [--json] WORD`: every dictionary's answer for a word in the user's
// order, cross-reference stubs last, as the panel's tabs show them.
namespace LookupAllCommand {

// Exit status.
int run(const CommandLine::TextInvocation& invocation);

} // namespace LookupAllCommand
