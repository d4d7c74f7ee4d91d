#pragma once

#include <QString>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// An environment variable that a system library reads once, as a program starts (the
// allocator's settings), given to a program of ours: put into the environment of the program
// about to be executed, or the program starts itself again with it. While ours is in place,
// the user's own value waits in a second variable, so that the programs ours starts later
// get it back.
namespace StartEnvironment {

struct Variable {
    std::string name;
    // The value to start with, given the value there is (nothing when unset).
    std::function<std::string(std::optional<std::string_view> current)> wanted;
};

// Where the user's own value waits.
std::string keeperOf(const Variable& variable);

// Sets the variable for the program this process is about to execute.
void prepareForExec(const Variable& variable);

// For a program's start. Nothing when the variable had its value from the start; the user's
// own value is then put back. Otherwise sets it and calls `restart`, which executes the
// program again and returns only when it could not (with the errno value); then, or when a
// restart has already been tried and the value still did not arrive, the environment is put
// back and the reason returned.
std::optional<QString> ensureAtStart(const Variable& variable, const std::function<int()>& restart);

} // namespace StartEnvironment
