#include "harness/QuilletProcess.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace QuilletProcess {

QString executable() {
    const QString overridden = qEnvironmentVariable("QUILLET_EXECUTABLE");
    return overridden.isEmpty() ? QCoreApplication::applicationDirPath() + u"/quillet"_s
                                : overridden;
}

QProcessEnvironment environmentWithHome(const QString& home) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home);
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        environment.remove(QString::fromLatin1(variable));
    return environment;
}

Run run(const QStringList& arguments, const QProcessEnvironment& environment,
        std::chrono::milliseconds limit) {
    QProcess process;
    process.setProcessEnvironment(environment);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, [&loop](QProcess::ProcessError e) {
        if (e == QProcess::FailedToStart)
            loop.quit();
    });
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    process.start(executable(), arguments);
    loop.exec();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(5'000);
        return {-1, QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()).trimmed(),
            QString::fromUtf8(process.readAllStandardError()).trimmed()};
}

} // namespace QuilletProcess
