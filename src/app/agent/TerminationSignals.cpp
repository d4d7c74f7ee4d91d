#include "TerminationSignals.h"

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A signal handler may only write to a descriptor; the event loop reads the other end.
int gSignalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(gSignalPipe[0], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, gSignalPipe) != 0)
        return;
    m_notifier = new QSocketNotifier(gSignalPipe[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char byte;
        [[maybe_unused]] const auto read = ::read(gSignalPipe[1], &byte, 1);
        Q_EMIT received();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}
