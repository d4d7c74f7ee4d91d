#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <chrono>

// Runs the `quillet` binary from the build's bin folder while this process keeps its event
// loop turning, so servers living in the test (a fake model server) can answer it.
namespace QuilletProcess {

struct Run {
    int exitCode = -1; // -1 when it crashed or did not finish in time
    QString out;
    QString err;
};

QString executable();
// This process's environment with HOME at `home` and the XDG folder variables cleared, as a
// person's shell would run a command of that user.
QProcessEnvironment environmentWithHome(const QString& home);
Run run(const QStringList& arguments, const QProcessEnvironment& environment,
        std::chrono::milliseconds limit = std::chrono::seconds(30));

} // namespace QuilletProcess
