#include "ui/onboarding/OnboardingWindow.h"

#include "settings/DefaultsStore.h"
#include "settings/InterfaceSettings.h"
#include "settings/TriggerSettings.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The settings of one start of the program, over a settings file that outlives them.
struct Start {
    explicit Start(const QString& file) : store(file) {}
    DefaultsStore store;
    InterfaceSettings interface { store };
    TriggerSettings triggers{store};
    QStringList lookedUp;

    OnboardingWindow::Dependencies dependencies() {
        return {.interface = interface,
                .triggers = triggers,
                .lookUp = [this](const QString& text) { lookedUp.append(text); },
                .permissions = nullptr,
                .accessibility = nullptr,
                .openSettings = {}};
    }
};

template <typename Widget> Widget* child(const QWidget* window, const QString& name) {
    auto* widget = window->findChild<Widget*>(name);
    EXPECT_NE(widget, nullptr) << name.toStdString();
    return widget;
}

} // namespace

TEST(OnboardingWindowTest, ShowsOnFirstStartOnlyWhetherFinishedOrClosed) {
    const std::vector<std::function<void(OnboardingWindow*)>> endings{
        [](OnboardingWindow* window) {
            QTest::mouseClick(child<QPushButton>(window, u"finishButton"_s), Qt::LeftButton);
        },
        [](OnboardingWindow* window) {
            window->close();
        }};
    for (const auto& end : endings) {
        QTemporaryDir dir;
        const QString file = dir.filePath(u"defaults.json"_s);
        {
            Start first(file);
            const QPointer<OnboardingWindow> window =
                OnboardingWindow::showIfFirstRun(first.dependencies());
            ASSERT_TRUE(window);
            ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
            end(window);
            EXPECT_TRUE(QTest::qWaitFor([&] { return window.isNull(); })) << "closed for good";
        }
        EXPECT_TRUE(DefaultsStore(file).boolValue(u"firstRun.sawOnboarding"_s));
        Start second(file);
        EXPECT_EQ(OnboardingWindow::showIfFirstRun(second.dependencies()), nullptr);
    }
}

TEST(OnboardingWindowTest, TheTryButtonsLookTheirSamplesUp) {
    QTemporaryDir dir;
    Start start(dir.filePath(u"defaults.json"_s));
    OnboardingWindow window(start.dependencies());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    // What the person sees in each sample is what its button looks up.
    QStringList shown;
    for (const QString& way : {u"copy"_s, u"selection"_s}) {
        shown.append(child<QLineEdit>(&window, u"sample."_s + way)->text());
        QTest::mouseClick(child<QPushButton>(&window, u"try."_s + way), Qt::LeftButton);
    }
    EXPECT_EQ(start.lookedUp, shown);
    EXPECT_FALSE(DefaultsStore(start.store.filePath()).boolValue(u"firstRun.sawOnboarding"_s))
        << "still open";
}
