#include "platform/posix/StartEnvironment.h"

#include "platform/SafeFiles.h"

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace StartEnvironment {
namespace {

std::optional<std::string> valueOf(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// An empty value means the same as none to the libraries that read these, and is what the
// keeper holds for "unset".
void putBack(const std::string& name, const std::string& value) {
    if (value.empty())
        ::unsetenv(name.c_str());
    else
        ::setenv(name.c_str(), value.c_str(), 1);
}

// The user's value back in place, and the keeper gone.
void restoreUsersValue(const Variable& variable, const std::string& users) {
    putBack(variable.name, users);
    ::unsetenv(keeperOf(variable).c_str());
}

} // namespace

std::string keeperOf(const Variable& variable) {
    return "QUILLET_USER_" + variable.name;
}

void prepareForExec(const Variable& variable) {
    const std::optional<std::string> current = valueOf(variable.name);
    const std::string wanted = variable.wanted(current);
    if (current == wanted)
        return; // the user's own value already says it
    ::setenv(keeperOf(variable).c_str(), current.value_or(std::string()).c_str(), 1);
    ::setenv(variable.name.c_str(), wanted.c_str(), 1);
}

std::optional<QString> ensureAtStart(const Variable& variable,
                                     const std::function<int()>& restart) {
    const std::optional<std::string> current = valueOf(variable.name);
    const std::optional<std::string> users = valueOf(keeperOf(variable));
    if (current == variable.wanted(current)) {
        if (users)
            restoreUsersValue(variable, *users);
        return std::nullopt;
    }
    const QString name = QString::fromStdString(variable.name);
    if (users) {
        // Started with the value and it did not arrive: something between the two programs
        // drops it, and starting again would not change that.
        restoreUsersValue(variable, *users);
        return u"启动时环境变量 %1 被去掉了"_s.arg(name);
    }
    prepareForExec(variable);
    const int error = restart();
    restoreUsersValue(variable, current.value_or(std::string()));
    return u"无法带着环境变量 %1 重新启动：%2"_s.arg(name,
                                                     SafeFiles::Failure::fromErrno(error).reason);
}

} // namespace StartEnvironment
