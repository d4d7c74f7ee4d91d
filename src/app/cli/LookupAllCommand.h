#pragma once

#include <QStringList>

// `quillet lookup --all [--json] WORD`: every dictionary's answer for a word in the user's
// order, cross-reference stubs last, as the panel's tabs show them.
namespace LookupAllCommand {

// Whether the options before the text (`arguments` follow "lookup") ask for every answer.
bool isRequested(const QStringList& arguments);
// Exit status.
int run(const QStringList& arguments);

} // namespace LookupAllCommand
