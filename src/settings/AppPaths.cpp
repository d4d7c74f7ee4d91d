#include "settings/AppPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace AppPaths {

QString wordDatabase() {
    const QString overridden = qEnvironmentVariable("QUILLET_DICTIONARY_PATH");
    if (!overridden.isEmpty())
        return overridden;
    const QDir executableDir(QCoreApplication::applicationDirPath());
    const QString besideExecutable = executableDir.filePath(u"dictionary.sqlite"_s);
    if (QFileInfo::exists(besideExecutable))
        return besideExecutable;
    return QDir::cleanPath(executableDir.filePath(u"../share/quillet/dictionary.sqlite"_s));
}

} // namespace AppPaths
