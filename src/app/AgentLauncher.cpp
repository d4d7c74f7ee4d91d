#include "AgentLauncher.h"

#include "platform/MemoryHygiene.h"
#include "platform/PlatformPaths.h"
#include "platform/SafeFiles.h"

#include <QByteArray>
#include <cerrno>
#include <cstdio>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace AgentLauncher {

int exec(int argc, char** argv) {
    constexpr int kCannotStart = 71; // EX_OSERR
    const std::optional<QString> agent = PlatformPaths::siblingExecutable(u"quillet-agent"_s);
    if (!agent) {
        std::fputs("Quillet 无法启动：找不到自身所在的文件夹\n", stderr);
        return kCannotStart;
    }
    const QByteArray path = agent->toLocal8Bit();
    std::vector<char*> arguments{const_cast<char*>(path.constData())};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    arguments.push_back(nullptr);
    // Set here, the agent need not start itself a second time to have it.
    MemoryHygiene::prepareEnvironmentForExec();
    ::execv(path.constData(), arguments.data());
    // The system's own words are English; the reason is said in Chinese like every message.
    const QByteArray reason = SafeFiles::Failure::fromErrno(errno).reason.toUtf8();
    std::fprintf(stderr, "Quillet 无法启动 %s：%s\n", path.constData(), reason.constData());
    return kCannotStart;
}

} // namespace AgentLauncher
