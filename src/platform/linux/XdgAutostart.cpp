#include "platform/LaunchAtLogin.h"
#include "platform/PlatformPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace LaunchAtLogin {
namespace {

// $XDG_CONFIG_HOME/autostart, the sibling of our own settings folder.
std::optional<QString> entryPath() {
    const std::optional<QString> config = PlatformPaths::configDirectory();
    if (!config)
        return std::nullopt;
    return QFileInfo(*config).path() + u"/autostart/quillet.desktop"_s;
}

// The executable as one Exec argument: quoted whole, with the four characters that stay
// special inside quotes backslash-escaped and "%" doubled so it is no field code; then the
// escapes every string value gets, which apply before the quoting is read.
QString execArgument(const QString& executable) {
    QString quoted = u"\""_s;
    for (const QChar c : executable) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        else if (c == u'%')
            quoted += u'%';
        quoted += c;
    }
    quoted += u'"';

    QString value;
    for (const QChar c : std::as_const(quoted)) {
        switch (c.unicode()) {
        case u'\\':
            value += u"\\\\"_s;
            break;
        case u'\n':
            value += u"\\n"_s;
            break;
        case u'\t':
            value += u"\\t"_s;
            break;
        case u'\r':
            value += u"\\r"_s;
            break;
        default:
            value += c;
        }
    }
    return value;
}

QByteArray desktopEntry() {
    return (u"[Desktop Entry]\n"
            u"Type=Application\n"
            u"Name=Quillet\n"
            u"Exec="_s +
            execArgument(QCoreApplication::applicationFilePath()) +
            u"\n"
            u"X-GNOME-Autostart-enabled=true\n"
            u"NoDisplay=true\n"_s)
        .toUtf8();
}

// Session managers skip an entry marked hidden or switched off for GNOME.
bool switchesItselfOff(QFile& file) {
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            inMainGroup = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inMainGroup || equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = line.mid(equals + 1).trimmed();
        if ((key == u"Hidden" && value == u"true") ||
            (key == u"X-GNOME-Autostart-enabled" && value == u"false"))
            return true;
    }
    return false;
}

} // namespace

bool isEnabled() {
    const std::optional<QString> path = entryPath();
    if (!path || !QFileInfo(*path).isFile())
        return false;
    QFile file(*path);
    return file.open(QIODevice::ReadOnly) && !switchesItselfOff(file);
}

std::optional<QString> setEnabled(bool enabled) {
    const std::optional<QString> path = entryPath();
    if (!path)
        return u"找不到主文件夹"_s;
    if (!enabled) {
        const QFileInfo entry(*path);
        if (!entry.exists() && !entry.isSymLink())
            return std::nullopt;
        if (!QFile::remove(*path))
            return u"无法删除 %1"_s.arg(*path);
        return std::nullopt;
    }
    const QString folder = QFileInfo(*path).path();
    if (!QDir().mkpath(folder))
        return u"无法创建文件夹 %1"_s.arg(folder);
    const QByteArray bytes = desktopEntry();
    QSaveFile file(*path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return u"无法写入 %1"_s.arg(*path);
    return std::nullopt;
}

} // namespace LaunchAtLogin
