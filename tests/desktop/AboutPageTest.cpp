// The 「关于」 page: the version the program reports, and the diagnostics export.
#include "harness/QuilletProcess.h"
#include "harness/SettingsObjects.h"
#include "ui/settings/SettingsWindow.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(AboutPageTest, ShowsTheVersionAndExportsWhereItSays) {
    QTemporaryDir dir;
    SettingsObjects objects(dir.filePath(u"defaults.json"_s),
                            SettingsObjects::Dictionaries::installed);
    SettingsWindow window(objects.context());
    window.present(SettingsPage::about);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    const QuilletProcess::Run version = QuilletProcess::run(
        {u"--version"_s}, QuilletProcess::environmentWithHome(QDir::homePath()));
    ASSERT_EQ(version.exitCode, 0);
    const QString shown = window.findChild<QLabel*>(u"version"_s)->text();
    EXPECT_TRUE(version.out.endsWith(shown.sliced(shown.indexOf(u' ') + 1)))
        << shown.toStdString() << " / " << version.out.toStdString();

    // With no download folder, the home folder; the page says where.
    auto* exportButton = window.findChild<QPushButton*>(u"exportButton"_s);
    auto* exported = window.findChild<QLabel*>(u"exportedPath"_s);
    QTest::mouseClick(exportButton, Qt::LeftButton);
    ASSERT_TRUE(exported->isVisible())
        << window.findChild<QLabel*>(u"refusal"_s)->text().toStdString();
    const QString path = exported->text().sliced(exported->text().indexOf(u'/'));
    EXPECT_TRUE(QFileInfo(path).isFile()) << path.toStdString();
    EXPECT_EQ(QFileInfo(path).absolutePath(), QDir::homePath());
    EXPECT_TRUE(window.findChild<QPushButton*>(u"showExportButton"_s)->isVisible());

    QFile::remove(path);
}
