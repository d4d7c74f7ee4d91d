#pragma once

#include "capture/AccessibilityAuthorization.h"
#include "capture/PermissionCenter.h"
#include "harness/ManualTimers.h"
#include "harness/ScriptedPermissions.h"
#include "harness/SettingsObjects.h"
#include "ui/settings/SettingsWindow.h"

#include <QAbstractButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

// The settings objects over a settings file in a temporary folder, grants the test gives and
// withdraws, and the settings window over them, open on a real X server.
class SettingsPagesTest : public testing::Test {
protected:
    using Kind = SystemPermissions::Kind;

    SettingsPagesTest() {
        permissions.setChangeHandler([this] { accessibility.systemChanged(); });
    }

    void open(SettingsPage page, HotKeyCenter* hotKeys = nullptr) {
        SettingsContext context = objects.context();
        context.hotKeys = hotKeys;
        context.permissions = &center;
        context.accessibility = &accessibility;
        window = std::make_unique<SettingsWindow>(context);
        window->present(page);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    template <typename Widget = QWidget> Widget* child(const QString& name) const {
        auto* widget = window->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
    void click(const QString& name) const {
        auto* button = child<QAbstractButton>(name);
        ASSERT_TRUE(button->isVisible()) << name.toStdString();
        // Near the left edge: a check box stretched across the page takes clicks only on its
        // box and text.
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    // A child of `parent` found by name, for the parts several controls have (refusals).
    template <typename Widget = QWidget>
    Widget* part(const QString& parent, const QString& name) const {
        auto* widget = child(parent)->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << parent.toStdString() << "/" << name.toStdString();
        return widget;
    }

    // The value as the settings file on disk holds it, read as another program would.
    QVariant stored(const QString& key) const { return DefaultsStore(file).value(key); }
    // Another program changes the file; the store takes it in, as its file watch would.
    void storeElsewhere(const QVariantMap& values) {
        DefaultsStore(file).setValues(values);
        store.refresh();
    }

    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("defaults.json"));
    SettingsObjects objects{file};
    DefaultsStore& store = objects.store;
    EventLog& log = objects.log;
    Preferences& preferences = objects.preferences;
    TriggerSettings& triggers = objects.triggers;
    FilterPreferences& filter = objects.filter;
    InterfaceSettings& interface = objects.interface;
    Vocabulary& vocabulary = objects.vocabulary;
    ScriptedPermissions permissions;
    ManualTimers timers;
    AccessibilityAuthorization accessibility{permissions, log, timers};
    QStringList notices;
    PermissionCenter center{{.system = permissions,
                             .accessibility = accessibility,
                             .store = store,
                             .triggers = triggers,
                             .log = log,
                             .notify = [this](const QString& text) { notices.append(text); },
                             .presentPrompt = {},
                             .openPermissionsPage = {}}};
    std::unique_ptr<SettingsWindow> window;
};
