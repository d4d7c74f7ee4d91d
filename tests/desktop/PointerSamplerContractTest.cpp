// What hover lookup relies on from the pointer sampler, checked against the scripted fake the
// unit tests use and against the X11 sampler on a real X server, driven from outside by
// xdotool. xdotool types through XTEST, which the sampler ignores by default (the program's
// own simulated copy comes that way), so the desktop bench lets those keys count; a test of
// its own shows that by default they do not.
#include "X11TestInput.h"
#include "harness/ScriptedPointerSampler.h"
#include "platform/linux/capture/XInputPointerEvents.h"
#include "platform/linux/capture/XcbPointerSampler.h"

#include <QTest>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Flags = PointerSampler;

// A top panel over the left half of the screen, as another program would show one: a dock
// window with a top strut of its own.
class TopPanel {
public:
    static constexpr int height = 30;
    static constexpr int width = 640;

    TopPanel() : c(xcb_connect(nullptr, nullptr)) {
        xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
        window = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        const xcb_atom_t dock = atom("_NET_WM_WINDOW_TYPE_DOCK");
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_WINDOW_TYPE"),
                            XCB_ATOM_ATOM, 32, 1, &dock);
        // left, right, top, bottom, then each edge's start and end
        const quint32 partial[12] = {0, 0, height, 0, 0, 0, 0, 0, 0, width - 1, 0, 0};
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_STRUT_PARTIAL"),
                            XCB_ATOM_CARDINAL, 32, 12, partial);
        xcb_map_window(c, window);
        xcb_flush(c);
    }
    ~TopPanel() { xcb_disconnect(c); }

    // The window manager has taken the panel's strut off the work area.
    bool workAreaMoved() {
        return QTest::qWaitFor(
            [&] {
                std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
                    xcb_get_property_reply(
                        c,
                        xcb_get_property(c, 0,
                                         xcb_setup_roots_iterator(xcb_get_setup(c)).data->root,
                                         atom("_NET_WORKAREA"), XCB_ATOM_CARDINAL, 0, 4),
                        nullptr),
                    &std::free);
                return reply && xcb_get_property_value_length(reply.get()) >= 16 &&
                       static_cast<const quint32*>(xcb_get_property_value(reply.get()))[1] ==
                           height;
            },
            5000);
    }

private:
    xcb_atom_t atom(const char* name) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(std::strlen(name)), name),
                                  nullptr),
            &std::free);
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    xcb_connection_t* c;
    xcb_window_t window = 0;
};

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedPointerSampler sampler;

    bool moveTo(QPoint p) {
        sampler.state.location = p;
        return true;
    }
    bool hold(const QStringList& keys) {
        for (const QString& key : keys)
            sampler.state.flags |= key == u"alt"_s     ? Flags::option
                                   : key == u"ctrl"_s  ? Flags::control
                                   : key == u"super"_s ? Flags::command
                                                       : Flags::shift;
        return true;
    }
    bool release(const QStringList&) {
        sampler.state.flags = 0;
        return true;
    }
    bool buttonDown(int button) {
        sampler.state.mouseButtons |= 1 << (button - 1);
        return true;
    }
    bool buttonUp(int button) {
        sampler.state.mouseButtons &= ~(1 << (button - 1));
        return true;
    }
    bool type(const QString&) {
        sampler.state.keyDownAgo = 0;
        return true;
    }
    bool showTopPanel() {
        // A QRectF holds its right and bottom edges; the panel's last row is height - 1.
        sampler.menuBar = QRectF(0, 0, TopPanel::width - 1, TopPanel::height - 1);
        return true;
    }
};

struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XcbPointerSampler sampler{connection, {.ignoreSyntheticKeys = false}};
    std::unique_ptr<TopPanel> panel;

    ~Desktop() { sampler.stop(); }
    bool moveTo(QPoint p) {
        return xdotool({u"mousemove"_s, QString::number(p.x()), QString::number(p.y())});
    }
    bool hold(const QStringList& keys) { return xdotool({u"keydown"_s, keys.join(u'+')}); }
    bool release(const QStringList& keys) { return xdotool({u"keyup"_s, keys.join(u'+')}); }
    bool buttonDown(int button) { return xdotool({u"mousedown"_s, QString::number(button)}); }
    bool buttonUp(int button) { return xdotool({u"mouseup"_s, QString::number(button)}); }
    bool type(const QString& key) { return xdotool({u"key"_s, key}); }
    bool showTopPanel() {
        panel = std::make_unique<TopPanel>();
        return panel->workAreaMoved();
    }
};

template <typename Bench> class PointerSamplerContract : public testing::Test {
protected:
    Bench bench;
    void SetUp() override { ASSERT_TRUE(bench.sampler.start()); }
    PointerSampler::State sample() { return bench.sampler.sample(); }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(PointerSamplerContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(PointerSamplerContract, theLocationIsWhereThePointerIs) {
    for (const QPoint p : {QPoint(300, 200), QPoint(0, 0), QPoint(1279, 799)}) {
        ASSERT_TRUE(this->bench.moveTo(p));
        EXPECT_EQ(this->sample().location, QPointF(p));
    }
}

TYPED_TEST(PointerSamplerContract, eachModifierIsItsOwnFlagAndLocksAreNone) {
    const std::vector<std::pair<QString, quint32>> keys = {
        {u"alt"_s, Flags::option},
        {u"ctrl"_s, Flags::control},
        {u"super"_s, Flags::command},
        {u"shift"_s, Flags::shift},
    };
    for (const auto& [key, flag] : keys) {
        ASSERT_TRUE(this->bench.hold({key}));
        EXPECT_EQ(this->sample().flags, flag) << key.toStdString();
        ASSERT_TRUE(this->bench.release({key}));
        EXPECT_EQ(this->sample().flags, 0u) << key.toStdString();
    }
    ASSERT_TRUE(this->bench.hold({u"alt"_s, u"shift"_s}));
    EXPECT_EQ(this->sample().flags, Flags::option | Flags::shift);
    ASSERT_TRUE(this->bench.release({u"alt"_s, u"shift"_s}));
    EXPECT_EQ(this->sample().flags, 0u);
}

TYPED_TEST(PointerSamplerContract, heldButtonsAreOneBitEach) {
    ASSERT_TRUE(this->bench.moveTo({600, 400}));
    ASSERT_TRUE(this->bench.buttonDown(1));
    EXPECT_EQ(this->sample().mouseButtons, 1);
    ASSERT_TRUE(this->bench.buttonDown(3));
    EXPECT_EQ(this->sample().mouseButtons, 1 | 4);
    ASSERT_TRUE(this->bench.buttonUp(1));
    ASSERT_TRUE(this->bench.buttonUp(3));
    EXPECT_EQ(this->sample().mouseButtons, 0);
}

TYPED_TEST(PointerSamplerContract, typingIsSeenAtOnceButHoldingAModifierIsNotTyping) {
    EXPECT_TRUE(std::isinf(this->sample().keyDownAgo));
    ASSERT_TRUE(this->bench.hold({u"alt"_s}));
    ASSERT_TRUE(this->bench.release({u"alt"_s}));
    EXPECT_TRUE(std::isinf(this->sample().keyDownAgo)) << "a modifier counted as a typed key";
    // The sample right after the key finds it: nothing waits for the main loop to read it.
    ASSERT_TRUE(this->bench.type(u"a"_s));
    const double ago = this->sample().keyDownAgo;
    EXPECT_GE(ago, 0.0);
    EXPECT_LT(ago, 5.0);
}

TYPED_TEST(PointerSamplerContract, theMenuBarIsTheStripAboveTheWorkAreaWhereAPanelIs) {
    // A desktop without panels has no menu bar.
    EXPECT_FALSE(this->bench.sampler.inMenuBar({100, 10}));
    ASSERT_TRUE(this->bench.showTopPanel());
    EXPECT_TRUE(QTest::qWaitFor([&] { return this->bench.sampler.inMenuBar({100, 10}); }, 5000));
    EXPECT_TRUE(this->bench.sampler.inMenuBar({TopPanel::width - 1, TopPanel::height - 1}));
    EXPECT_FALSE(this->bench.sampler.inMenuBar({100, TopPanel::height}));
    // Beside the panel the screen reaches to its top.
    EXPECT_FALSE(this->bench.sampler.inMenuBar({TopPanel::width + 100, 10}));
}

// The desktop alone.

TEST(XcbPointerSampler, keysSentThroughXtestAreIgnoredUnlessAskedFor) {
    XcbEventConnection connection;
    XcbPointerSampler filtered(connection);
    XcbEventConnection otherConnection;
    XcbPointerSampler plain(otherConnection, {.ignoreSyntheticKeys = false});
    ASSERT_TRUE(filtered.start());
    ASSERT_TRUE(plain.start());
    ASSERT_TRUE(xdotool({u"key"_s, u"a"_s}));
    EXPECT_FALSE(std::isinf(plain.sample().keyDownAgo)) << "the control saw nothing";
    EXPECT_TRUE(std::isinf(filtered.sample().keyDownAgo));
}

TEST(XcbPointerSampler, stoppingForgetsKeysAndStartingFollowsThemAgain) {
    Desktop bench;
    ASSERT_TRUE(bench.sampler.start());
    ASSERT_TRUE(bench.type(u"a"_s));
    ASSERT_FALSE(std::isinf(bench.sampler.sample().keyDownAgo));
    bench.sampler.stop();
    ASSERT_TRUE(bench.type(u"b"_s));
    settle(bench.connection);
    ASSERT_TRUE(bench.sampler.start());
    EXPECT_TRUE(std::isinf(bench.sampler.sample().keyDownAgo));
    ASSERT_TRUE(bench.type(u"c"_s));
    EXPECT_FALSE(std::isinf(bench.sampler.sample().keyDownAgo));
}

// Both select XInput events on the same connection's root window, where each selection
// replaces the last: neither may take the other's away.
TEST(XcbPointerSampler, selectionGesturesAndKeysShareOneConnection) {
    XcbEventConnection connection;
    XInputPointerEvents pointer(connection, {.ignoreSyntheticDevices = false});
    XcbPointerSampler sampler(connection, {.ignoreSyntheticKeys = false});
    std::vector<GlobalPointerEvents::Event> seen;
    const auto clickAt = [&](int x) {
        const std::size_t before = seen.size();
        return xdotool({u"mousemove"_s, QString::number(x), u"300"_s, u"click"_s, u"1"_s}) &&
               QTest::qWaitFor([&] { return seen.size() >= before + 2; }, 5000);
    };
    ASSERT_TRUE(pointer.start([&](const auto& event) { seen.push_back(event); }));
    ASSERT_TRUE(sampler.start());
    EXPECT_TRUE(clickAt(300)) << "the sampler took the clicks away";
    ASSERT_TRUE(xdotool({u"key"_s, u"a"_s}));
    EXPECT_FALSE(std::isinf(sampler.sample().keyDownAgo));

    sampler.stop();
    EXPECT_TRUE(clickAt(320)) << "stopping the sampler took the clicks away";

    ASSERT_TRUE(sampler.start());
    pointer.stop();
    ASSERT_TRUE(xdotool({u"key"_s, u"a"_s}));
    EXPECT_FALSE(std::isinf(sampler.sample().keyDownAgo)) << "stopping the clicks took the keys";
}
