#pragma once

#include <QString>

// How the commands are called, in the words `--help` and usage errors print.
namespace Usage {

// "用法：" and the forms of one command; every command's form when `command` names none.
QString brief(const QString& command = {});
// `quillet --help`: every command with what it does, the options and the exit statuses.
QString full();
// `quillet COMMAND --help`: its forms and what its options mean. Nothing for an unknown name.
QString ofCommand(const QString& command);
bool isCommand(const QString& command);

} // namespace Usage
