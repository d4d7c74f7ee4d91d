#include "platform/LaunchAtLogin.h"

#include "harness/QtPrinters.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The test main leaves XDG_CONFIG_HOME unset; each test points it at a folder of its own.
class LaunchAtLoginTest : public testing::Test {
protected:
    void SetUp() override { qputenv("XDG_CONFIG_HOME", m_config.path().toUtf8()); }
    void TearDown() override { qunsetenv("XDG_CONFIG_HOME"); }

    QString autostart() const { return m_config.path() + u"/autostart"_s; }
    QString entry() const { return autostart() + u"/quillet.desktop"_s; }
    void writeEntry(const QByteArray& bytes) {
        QDir().mkpath(autostart());
        QFile file(entry());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }

    QTemporaryDir m_config;
};

} // namespace

TEST_F(LaunchAtLoginTest, EnablingWritesAnEntryThatStartsThisProgramAndDisablingRemovesIt) {
    EXPECT_FALSE(LaunchAtLogin::isEnabled());
    ASSERT_EQ(LaunchAtLogin::setEnabled(true), std::nullopt);
    EXPECT_TRUE(LaunchAtLogin::isEnabled());

    QFile file(entry());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString contents = QString::fromUtf8(file.readAll());
    const QString executable = QCoreApplication::applicationFilePath();
    ASSERT_FALSE(executable.contains(QRegularExpression(u"[\\\\\"`$%\\s]"_s))); // none to escape
    EXPECT_TRUE(contents.startsWith(u"[Desktop Entry]\n"_s));
    EXPECT_TRUE(contents.contains(u"\nExec=\""_s + executable + u"\"\n"_s))
        << contents.toStdString();

    EXPECT_EQ(LaunchAtLogin::setEnabled(false), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(entry()));
    EXPECT_FALSE(LaunchAtLogin::isEnabled());
}

TEST_F(LaunchAtLoginTest, EntriesSwitchedOffDoNotCount) {
    const std::pair<QByteArray, bool> cases[] = {
        {"[Desktop Entry]\nExec=quillet\n", true},
        {"[Desktop Entry]\nHidden = true\n", false},
        {"[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n", false},
        {"[Desktop Entry]\n[Desktop Action quit]\nHidden=true\n", true},
        {"[Desktop Entry]\n# Hidden=true\n", true},
    };
    for (const auto& [contents, enabled] : cases) {
        writeEntry(contents);
        EXPECT_EQ(LaunchAtLogin::isEnabled(), enabled) << contents.constData();
    }
}

TEST_F(LaunchAtLoginTest, FailuresComeWithAReason) {
    // A file where the autostart folder should be: nothing can be written inside it.
    QFile blocker(autostart());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const std::optional<QString> reason = LaunchAtLogin::setEnabled(true);
    ASSERT_TRUE(reason);
    EXPECT_TRUE(reason->startsWith(u"无法"_s) && reason->contains(autostart()))
        << reason->toStdString();
    EXPECT_FALSE(LaunchAtLogin::isEnabled());

    // The settings switch says why and shows what the system has.
    DefaultsStore store{QString()};
    Preferences preferences(store, {});
    preferences.setLaunchAtLogin(true);
    EXPECT_FALSE(preferences.launchAtLogin());
    EXPECT_EQ(preferences.launchAtLoginFailure().value_or(QString()),
              u"开机自启设置失败："_s + *reason);

    // A folder in the entry's place cannot be removed as a file.
    blocker.remove();
    QDir().mkpath(entry() + u"/inside"_s);
    EXPECT_FALSE(LaunchAtLogin::isEnabled());
    EXPECT_EQ(LaunchAtLogin::setEnabled(false), u"无法删除 "_s + entry());
}
