#include "ui/TrayIcon.h"

#include "harness/SettingsObjects.h"

#include <QAction>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QAction* item(QMenu& menu, const QString& text) {
    for (QAction* action : menu.actions())
        if (action->text() == text)
            return action;
    return nullptr;
}

TEST(TrayIconMenu, EachLookupItemAsksForItsOwnLookup) {
    QTemporaryDir dir;
    SettingsObjects objects(dir.filePath(u"defaults.json"_s));
    TrayIcon tray(objects.triggers);
    QSignalSpy selection(&tray, &TrayIcon::lookUpSelectionRequested);
    QSignalSpy region(&tray, &TrayIcon::regionLookupRequested);

    const QList<QAction*> actions = tray.menu().actions();
    ASSERT_GE(actions.size(), 2);
    EXPECT_EQ(actions[0]->text(), u"查询选中的文字"_s);
    EXPECT_EQ(actions[1]->text(), u"框选查询"_s);

    item(tray.menu(), u"框选查询"_s)->trigger();
    EXPECT_EQ(region.count(), 1);
    EXPECT_EQ(selection.count(), 0);

    item(tray.menu(), u"查询选中的文字"_s)->trigger();
    EXPECT_EQ(region.count(), 1);
    EXPECT_EQ(selection.count(), 1);
}

} // namespace
