// What text capture relies on from the application in front, checked against the scripted
// fake the unit tests use and against the X11 adapter under a real window manager.
#include "X11TestInput.h"
#include "harness/ScriptedFrontmost.h"
#include "platform/linux/capture/X11FrontmostApplication.h"

#include <QTest>
#include <QWidget>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct Scripted {
    ScriptedFrontmost frontmost;

    bool showForeign(const QString& className) {
        frontmost.bringForward(className.toLower(), className);
        return true;
    }
    bool showOwn() {
        frontmost.bringForward(u"quillet"_s, u"Quillet"_s, true);
        return true;
    }
    bool showNothing() {
        frontmost.application.reset();
        return true;
    }
};

// A top-level window of another X client, with the class and process id it is given;
// openbox manages it like any other.
class ForeignWindow {
public:
    ForeignWindow() : m_connection(xcb_connect(nullptr, nullptr)) {}
    ~ForeignWindow() { xcb_disconnect(m_connection); }

    xcb_window_t show(const QByteArray& instance, const QByteArray& className, quint32 pid) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        const xcb_window_t window = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, screen->root, 100, 100, 300,
                          200, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        if (!className.isEmpty()) {
            const QByteArray wmClass = instance + '\0' + className + '\0';
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                                XCB_ATOM_STRING, 8, quint32(wmClass.size()), wmClass.data());
        }
        if (pid) {
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_PID"),
                                XCB_ATOM_CARDINAL, 32, 1, &pid);
        }
        xcb_map_window(m_connection, window);
        xcb_flush(m_connection);
        // Activating it asks the window manager, which must have taken it in first.
        (void)QTest::qWaitFor([&] { return parent(window) != screen->root; }, 5000);
        return window;
    }
    // Says no window is active, as the window manager does once the last one closes.
    void clearActive() {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        const xcb_window_t none = XCB_WINDOW_NONE;
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, screen->root,
                            atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1, &none);
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

private:
    xcb_window_t parent(xcb_window_t window) {
        std::unique_ptr<xcb_query_tree_reply_t, decltype(&std::free)> tree(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr),
            &std::free);
        return tree ? tree->parent : xcb_window_t(XCB_WINDOW_NONE);
    }
    xcb_atom_t atom(const char* name) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(
                m_connection, xcb_intern_atom(m_connection, 0, quint16(std::strlen(name)), name),
                nullptr),
            &std::free);
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    xcb_connection_t* m_connection;
};

bool activate(xcb_window_t window) {
    return xdotool({u"windowactivate"_s, u"--sync"_s, QString::number(window)});
}

struct Desktop {
    XcbEventConnection connection;
    X11FrontmostApplication frontmost{connection};
    ForeignWindow foreign;
    QWidget own;

    // Another process's id: only its being someone else's matters.
    static constexpr quint32 kForeignPid = 1;

    bool showForeign(const QString& className) {
        return activate(foreign.show("fixture", className.toUtf8(), kForeignPid));
    }
    bool showOwn() {
        own.resize(200, 100);
        own.show();
        return QTest::qWaitForWindowExposed(&own) && activate(xcb_window_t(own.winId()));
    }
    bool showNothing() {
        foreign.clearActive();
        return true;
    }
};

template <typename Bench> class FrontmostContract : public testing::Test {
protected:
    Bench bench;
    std::optional<FrontmostApplication::Application> current() const {
        return bench.frontmost.current();
    }
};

class BenchNames {
public:
    template <typename Bench> static std::string GetName(int) {
        return std::is_same_v<Bench, Scripted> ? "scripted" : "desktop";
    }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(FrontmostContract, Benches, BenchNames);

} // namespace

TYPED_TEST(FrontmostContract, anotherProgramsWindowIsNamedByItsClass) {
    ASSERT_TRUE(this->bench.showForeign(u"KeePassXC"_s));
    const auto application = this->current();
    ASSERT_TRUE(application);
    EXPECT_EQ(application->identifier, u"keepassxc"_s);
    EXPECT_EQ(application->name, u"KeePassXC"_s);
    EXPECT_NE(application->pid, 0);
    EXPECT_NE(application->pid, QCoreApplication::applicationPid());
    EXPECT_FALSE(application->isOwn);
}

TYPED_TEST(FrontmostContract, aWindowOfThisProgramIsItsOwn) {
    ASSERT_TRUE(this->bench.showOwn());
    const auto application = this->current();
    ASSERT_TRUE(application);
    EXPECT_TRUE(application->isOwn);
    EXPECT_FALSE(application->identifier.isEmpty());
}

TYPED_TEST(FrontmostContract, noActiveWindowIsNothing) {
    ASSERT_TRUE(this->bench.showForeign(u"Reader"_s));
    ASSERT_TRUE(this->bench.showNothing());
    EXPECT_FALSE(this->current().has_value());
}

// The desktop alone.

TEST(X11FrontmostApplication, aWindowWithoutClassOrProcessHasEmptyNames) {
    Desktop bench;
    ASSERT_TRUE(activate(bench.foreign.show({}, {}, 0)));
    // openbox may clear the active window for a moment while it hands a window without
    // hints the focus.
    (void)QTest::qWaitFor([&] { return bench.frontmost.current().has_value(); }, 2000);
    const auto application = bench.frontmost.current();
    ASSERT_TRUE(application);
    EXPECT_EQ(application->identifier, QString());
    EXPECT_EQ(application->name, QString());
    EXPECT_EQ(application->pid, 0);
    EXPECT_FALSE(application->isOwn);
}

TEST(X11FrontmostApplication, anOwnWindowIsRecognisedWithoutItsProcessId) {
    // Some toolkits never set _NET_WM_PID; the window itself still says whose it is.
    Desktop bench;
    ASSERT_TRUE(bench.showOwn());
    xcb_connection_t* c = bench.connection.connection();
    const char name[] = "_NET_WM_PID";
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> pid(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr),
        &std::free);
    ASSERT_TRUE(pid);
    xcb_delete_property(c, xcb_window_t(bench.own.winId()), pid->atom);
    settle(bench.connection);
    const auto application = bench.frontmost.current();
    ASSERT_TRUE(application);
    EXPECT_EQ(application->pid, 0);
    EXPECT_TRUE(application->isOwn);
}
