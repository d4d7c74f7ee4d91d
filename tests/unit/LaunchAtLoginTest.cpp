#include "platform/LaunchAtLogin.h"

#include "harness/QtPrinters.h"

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
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    const QString executable = QCoreApplication::applicationFilePath();
    ASSERT_FALSE(executable.contains(QRegularExpression(u"[\\\\\"`$%\\s]"_s)));
    EXPECT_EQ(lines, (QStringList{u"[Desktop Entry]"_s, u"Type=Application"_s, u"Name=Quillet"_s,
                                  u"Exec=\""_s + executable + u'"',
                                  u"X-GNOME-Autostart-enabled=true"_s, u"NoDisplay=true"_s}));
    EXPECT_EQ(QDir(autostart()).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"quillet.desktop"_s});

    EXPECT_EQ(LaunchAtLogin::setEnabled(false), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(entry()));
    EXPECT_FALSE(LaunchAtLogin::isEnabled());
    EXPECT_EQ(LaunchAtLogin::setEnabled(false), std::nullopt); // already off
}

TEST_F(LaunchAtLoginTest, EntriesSwitchedOffDoNotCount) {
    const std::pair<QByteArray, bool> cases[] = {
        {"[Desktop Entry]\nExec=quillet\n", true},
        {"[Desktop Entry]\nHidden = true\n", false},
        {"[Desktop Entry]\nHidden=false\n", true},
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

    // A folder in the entry's place cannot be removed as a file.
    blocker.remove();
    QDir().mkpath(entry() + u"/inside"_s);
    EXPECT_FALSE(LaunchAtLogin::isEnabled());
    EXPECT_EQ(LaunchAtLogin::setEnabled(false), u"无法删除 "_s + entry());
}
