// Times the agent's panel from outside, by watching the X display as a user's eyes would.
//
//   copy_to_panel [--settle MS] [--timeout MS] [--jitter MS] [--trace]
//                 [--prepare COMMAND (--double-click FILE | --hot-key | --hover FILE)] WORD...
//
// For each word: waits until the panel is folded and still, then a random while of up to
// --jitter ms (400 by default), so copies fall at any moment of whatever the agent does on a
// schedule, as a user's do. Then takes the CLIPBOARD the way another program does (serving
// TARGETS, UTF8_STRING, STRING and TEXT) and watches the panel window: its map, the first
// damage after the copy (first pixels: the loading state's, where it shows), the first
// damage once the title says the answer is there (the answer's pixels), and the last change
// before the window stays still for the settle time (fully drawn). Changes are damage, new
// shapes and new geometry: where the server keeps the window's pixels (an ARGB window on a
// server with Composite), revealing more of them by reshaping draws nothing. The panel is
// found by its title, which the agent keeps as "Quillet 面板｜STATE｜…". Prints one line per
// copy (--trace: every event too), then the median and 90th percentile of each figure.
// Exits 1 when a copy went unanswered.
//
// With --prepare, a selection replaces the copy: for each word the shell runs `COMMAND WORD`
// untimed (show the word somewhere), then this program double-clicks at the point FILE then
// holds ("X Y"), or presses Ctrl+Alt+Super+D, through XTest, and times from the moment the
// server has taken the last release. With --hover, it rests the pointer on the point FILE holds
// and holds Alt until the answer is drawn; times start when the dwell fires: 240 ms after the
// agent's 25-per-second sampler first sees Alt, so the figures carry the sampler's phase
// (0–40 ms, 20 on average) on top of the agent's own time.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <poll.h>
#include <random>
#include <string>
#include <vector>
#include <xcb/damage.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

using Clock = std::chrono::steady_clock;
using Ms = std::chrono::duration<double, std::milli>;

constexpr uint8_t kAltL = 64; // on the evdev key codes Xvfb uses
const std::string kTitlePrefix = "Quillet 面板｜";
const char* const kUsage =
    "usage: copy_to_panel [--settle MS] [--timeout MS] [--jitter MS] [--trace] "
    "[--prepare COMMAND (--double-click FILE | --hot-key | --hover FILE)] WORD...";

struct Options {
    std::chrono::milliseconds settle{100};
    std::chrono::milliseconds timeout{4000};
    std::chrono::milliseconds jitter{400};
    bool trace = false;
    std::string prepare, clickFile;
    bool hotKey = false;
    bool hover = false;
    std::vector<std::string> words;
};

struct Sample {
    std::string word;
    std::optional<double> map, firstPixels, answerPixels, fullyDrawn, answered;
};

[[noreturn]] void fail(const char* message) {
    std::fprintf(stderr, "copy_to_panel: %s\n", message);
    std::exit(2);
}

class Display {
public:
    Display() {
        m_connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_connection))
            fail("cannot open the display");
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        clipboard = atom("CLIPBOARD");
        targets = atom("TARGETS");
        utf8String = atom("UTF8_STRING");
        text = atom("TEXT");
        netWmName = atom("_NET_WM_NAME");
        stamp = atom("COPY_TO_PANEL_STAMP");

        const xcb_query_extension_reply_t* damage =
            xcb_get_extension_data(m_connection, &xcb_damage_id);
        if (!damage || !damage->present)
            fail("the X server has no DAMAGE extension");
        m_damageEvent = damage->first_event + XCB_DAMAGE_NOTIFY;
        free(xcb_damage_query_version_reply(m_connection,
                                            xcb_damage_query_version(m_connection, 1, 1), nullptr));

        // The owner window: never mapped, it only holds the selection.
        m_owner = xcb_generate_id(m_connection);
        const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_owner, m_root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &events);
        xcb_flush(m_connection);
    }
    ~Display() { xcb_disconnect(m_connection); }

    xcb_atom_t atom(const char* name) {
        auto* reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, std::strlen(name), name), nullptr);
        if (!reply)
            fail("cannot intern an atom");
        const xcb_atom_t value = reply->atom;
        free(reply);
        return value;
    }

    std::string title(xcb_window_t window) {
        auto* reply = xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, netWmName, utf8String, 0, 1024),
            nullptr);
        std::string value;
        if (reply) {
            value.assign(static_cast<const char*>(xcb_get_property_value(reply)),
                         xcb_get_property_value_length(reply));
            free(reply);
        }
        return value;
    }

    // The panel: a top-level window (it bypasses the window manager) with the agent's title.
    std::optional<xcb_window_t> findPanel() {
        auto* tree =
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr);
        if (!tree)
            return std::nullopt;
        std::optional<xcb_window_t> found;
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; i < xcb_query_tree_children_length(tree) && !found; ++i) {
            if (title(children[i]).rfind(kTitlePrefix, 0) == 0)
                found = children[i];
        }
        free(tree);
        return found;
    }

    void watch(xcb_window_t panel) {
        m_panel = panel;
        const uint32_t panelEvents =
            XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, panel, XCB_CW_EVENT_MASK, &panelEvents);
        const xcb_damage_damage_t damage = xcb_generate_id(m_connection);
        xcb_damage_create(m_connection, damage, panel, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        if (m_shapeEvent)
            xcb_shape_select_input(m_connection, panel, 1);
        m_state = stateOf(title(panel));
        xcb_flush(m_connection);
    }

    // A server timestamp for the selection, as ICCCM asks: the time of a property change.
    xcb_timestamp_t serverTime() {
        xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_owner, stamp, XCB_ATOM_STRING, 8,
                            0, nullptr);
        xcb_flush(m_connection);
        for (;;) {
            xcb_generic_event_t* event = xcb_wait_for_event(m_connection);
            if (!event)
                fail("the display went away");
            const auto* property = reinterpret_cast<xcb_property_notify_event_t*>(event);
            const bool ours = (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
                              property->window == m_owner && property->atom == stamp;
            const xcb_timestamp_t time = property->time;
            handle(event);
            if (ours)
                return time;
        }
    }

    // A double-click at a point, or the lookup hot key, the way a person's hand sends them;
    // times from the moment the server has taken the last release.
    void select(const std::string& word, const Options& options) {
        m_word = word;
        m_sample = Sample{word, {}, {}, {}, {}, {}};
        if (options.hover) {
            const auto [x, y] = pointIn(options.clickFile);
            // From elsewhere, so the resting place is a new one.
            xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_root,
                                int16_t(x + 60), int16_t(y + 60), 0);
            xcb_flush(m_connection);
            poll(nullptr, 0, 40);
            xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_root,
                                int16_t(x), int16_t(y), 0);
            fake(XCB_KEY_PRESS, kAltL);
            std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection),
                                                nullptr));
            m_copiedAt = Clock::now() + std::chrono::milliseconds(240);
            return;
        }
        if (options.hotKey) {
            // Control_L, Alt_L, Super_L and D on the evdev key codes Xvfb uses.
            const xcb_keycode_t keys[] = {37, 64, 133, 40};
            for (const xcb_keycode_t key : keys)
                fake(XCB_KEY_PRESS, key);
            for (int i = 3; i >= 0; --i)
                fake(XCB_KEY_RELEASE, keys[i]);
        } else {
            const auto [x, y] = pointIn(options.clickFile);
            xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_root,
                                int16_t(x), int16_t(y), 0);
            for (int click = 0; click < 2; ++click) {
                fake(XCB_BUTTON_PRESS, 1);
                fake(XCB_BUTTON_RELEASE, 1);
                if (click == 0) {
                    xcb_flush(m_connection);
                    poll(nullptr, 0, 60);
                }
            }
        }
        // A round trip: everything before it has been handled by the server.
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        m_copiedAt = Clock::now();
    }

    // Lets go of the hover key after an answer.
    void release(const Options& options) {
        if (!options.hover)
            return;
        fake(XCB_KEY_RELEASE, kAltL);
        xcb_flush(m_connection);
    }

    static std::pair<int, int> pointIn(const std::string& path) {
        int x = 0, y = 0;
        if (FILE* file = std::fopen(path.c_str(), "r")) {
            if (std::fscanf(file, "%d %d", &x, &y) != 2)
                fail("no point to click at");
            std::fclose(file);
        }
        return {x, y};
    }

    void fake(uint8_t type, uint8_t detail) {
        xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    void copy(const std::string& word) {
        const xcb_timestamp_t time = serverTime();
        m_word = word;
        m_copiedAt = Clock::now();
        m_sample = Sample{word, {}, {}, {}, {}, {}};
        xcb_set_selection_owner(m_connection, m_owner, clipboard, time);
        xcb_flush(m_connection);
    }

    // Runs the event loop until `done` says so or `limit` passes; false on time out.
    template <typename Done> bool runUntil(Done done, std::chrono::milliseconds limit) {
        const Clock::time_point deadline = Clock::now() + limit;
        pollfd descriptor{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        for (;;) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection))
                handle(event);
            watchShape();
            if (xcb_connection_has_error(m_connection))
                fail("the display went away");
            if (done())
                return true;
            const Clock::time_point now = Clock::now();
            if (now >= deadline)
                return false;
            // Wake for the settle deadline too, not only for events.
            const auto wait =
                std::min<Clock::duration>(deadline - now, std::chrono::milliseconds(5));
            poll(&descriptor, 1,
                 static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wait).count()));
        }
    }

    bool stillFor(std::chrono::milliseconds quiet) const {
        return Clock::now() - m_lastDamage >= quiet;
    }

    const std::string& state() const { return m_state; }
    const Sample& sample() const { return m_sample; }
    bool copied() const { return !m_word.empty(); }

private:
    static std::string stateOf(const std::string& title) {
        if (title.rfind(kTitlePrefix, 0) != 0)
            return {};
        const std::string rest = title.substr(kTitlePrefix.size());
        return rest.substr(0, rest.find("｜"));
    }

    double sinceCopy() const { return Ms(Clock::now() - m_copiedAt).count(); }

    void trace(const char* what, const std::string& detail = {}) const {
        if (tracing && copied())
            std::printf("  %7.1f ms  %s %s\n", sinceCopy(), what, detail.c_str());
    }

    // Asks for the shape's extent on every turn as well: ShapeNotify does not always come.
    void watchShape() {
        if (m_panel == XCB_NONE)
            return;
        auto* reply = xcb_shape_query_extents_reply(
            m_connection, xcb_shape_query_extents(m_connection, m_panel), nullptr);
        if (!reply)
            return;
        const std::string extent = std::to_string(reply->bounding_shape_extents_width) + "x" +
                                   std::to_string(reply->bounding_shape_extents_height);
        free(reply);
        if (extent == m_shapeExtent)
            return;
        const bool first = m_shapeExtent.empty();
        m_shapeExtent = extent;
        if (first)
            return;
        trace("shape extent", extent);
        changed();
    }

    void changed() {
        m_lastDamage = Clock::now();
        if (copied())
            m_sample.fullyDrawn = sinceCopy();
    }

    void handle(xcb_generic_event_t* event) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == m_damageEvent) {
            const auto* damage = reinterpret_cast<xcb_damage_notify_event_t*>(event);
            if (damage->area.width > 0 && damage->area.height > 0) {
                trace("damage", std::to_string(damage->area.width) + "x" +
                                    std::to_string(damage->area.height) + "+" +
                                    std::to_string(damage->area.x) + "+" +
                                    std::to_string(damage->area.y));
                if (copied() && !m_sample.firstPixels)
                    m_sample.firstPixels = sinceCopy();
                // The title changes before the window is repainted for the new state.
                if (copied() && m_sample.answered && !m_sample.answerPixels)
                    m_sample.answerPixels = sinceCopy();
                changed();
            }
        } else if ((m_shapeEvent && type == m_shapeEvent) || type == XCB_CONFIGURE_NOTIFY) {
            trace(type == XCB_CONFIGURE_NOTIFY ? "configure" : "shape");
            changed();
        } else if (type == XCB_MAP_NOTIFY) {
            if (copied() && !m_sample.map)
                m_sample.map = sinceCopy();
        } else if (type == XCB_PROPERTY_NOTIFY) {
            const auto* property = reinterpret_cast<xcb_property_notify_event_t*>(event);
            if (property->window == m_panel && property->atom == netWmName) {
                const std::string title = this->title(m_panel);
                m_state = stateOf(title);
                trace("title", m_state);
                // From a folded panel, the next result is this copy's.
                if (copied() && !m_sample.answered && m_state == "result")
                    m_sample.answered = sinceCopy();
            }
        } else if (type == XCB_SELECTION_REQUEST) {
            serve(*reinterpret_cast<xcb_selection_request_event_t*>(event));
        }
        free(event);
    }

    void serve(const xcb_selection_request_event_t& request) {
        xcb_selection_notify_event_t reply{};
        reply.response_type = XCB_SELECTION_NOTIFY;
        reply.time = request.time;
        reply.requestor = request.requestor;
        reply.selection = request.selection;
        reply.target = request.target;
        reply.property = XCB_NONE;
        const xcb_atom_t property = request.property ? request.property : request.target;
        if (request.owner == m_owner && request.selection == clipboard) {
            if (request.target == targets) {
                const xcb_atom_t offered[] = {targets, utf8String, XCB_ATOM_STRING, text};
                xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, request.requestor,
                                    property, XCB_ATOM_ATOM, 32, 4, offered);
                reply.property = property;
            } else if (request.target == utf8String || request.target == XCB_ATOM_STRING ||
                       request.target == text) {
                const xcb_atom_t type = request.target == text ? utf8String : request.target;
                xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, request.requestor,
                                    property, type, 8, m_word.size(), m_word.data());
                reply.property = property;
            }
        }
        xcb_send_event(m_connection, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&reply));
        xcb_flush(m_connection);
    }

public:
    bool tracing = false;
    xcb_atom_t clipboard, targets, utf8String, text, netWmName, stamp;

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_window_t m_owner;
    xcb_window_t m_panel = XCB_NONE;
    uint8_t m_damageEvent = 0;
    uint8_t m_shapeEvent = 0;
    std::string m_shapeExtent;
    std::string m_state;
    std::string m_word;
    Clock::time_point m_copiedAt;
    Clock::time_point m_lastDamage = Clock::now(); // or other change
    Sample m_sample;
};

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if ((argument == "--settle" || argument == "--timeout" || argument == "--jitter") &&
            i + 1 < argc) {
            const std::chrono::milliseconds value{std::atoi(argv[++i])};
            (argument == "--settle"    ? options.settle
             : argument == "--timeout" ? options.timeout
                                       : options.jitter) = value;
        } else if ((argument == "--prepare" || argument == "--double-click") && i + 1 < argc) {
            (argument == "--prepare" ? options.prepare : options.clickFile) = argv[++i];
        } else if (argument == "--hover" && i + 1 < argc) {
            options.hover = true;
            options.clickFile = argv[++i];
        } else if (argument == "--hot-key") {
            options.hotKey = true;
        } else if (argument == "--trace") {
            options.trace = true;
        } else if (argument.rfind("--", 0) == 0) {
            fail(kUsage);
        } else {
            options.words.push_back(argument);
        }
    }
    if (options.words.empty())
        fail(kUsage);
    return options;
}

std::string figure(const std::optional<double>& value) {
    char text[32];
    if (!value)
        return "-";
    std::snprintf(text, sizeof text, "%.1f", *value);
    return text;
}

void summarise(const char* name, std::vector<double> values) {
    if (values.empty()) {
        std::printf("%-22s no samples\n", name);
        return;
    }
    std::sort(values.begin(), values.end());
    const auto at = [&](double fraction) {
        const double position = fraction * static_cast<double>(values.size() - 1);
        const auto below = static_cast<std::size_t>(position);
        const std::size_t above = std::min(below + 1, values.size() - 1);
        return values[below] +
               (values[above] - values[below]) * (position - static_cast<double>(below));
    };
    std::printf("%-22s median %6.1f ms   p90 %6.1f ms   min %6.1f   max %6.1f   (n=%zu)\n", name,
                at(0.5), at(0.9), values.front(), values.back(), values.size());
}

} // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    Display display;
    display.tracing = options.trace;

    std::optional<xcb_window_t> panel;
    const Clock::time_point giveUp = Clock::now() + std::chrono::seconds(10);
    while (!(panel = display.findPanel()) && Clock::now() < giveUp)
        poll(nullptr, 0, 50);
    if (!panel)
        fail("no panel window (is the agent running on this display?)");
    display.watch(*panel);

    std::vector<Sample> samples;
    int unanswered = 0;
    std::mt19937 random(20240611); // the same moments run after run
    std::printf("%-16s %8s %8s %8s %8s %8s\n", "word", "answered", "map", "first", "answer",
                "drawn");
    for (const std::string& word : options.words) {
        // From a folded, still panel, as when the user copies while reading elsewhere.
        const bool folded = display.runUntil(
            [&] {
                return display.state() == "collapsed" &&
                       display.stillFor(std::chrono::milliseconds(300));
            },
            std::chrono::seconds(15));
        if (!folded)
            fail("the panel did not fold back between copies");
        const std::chrono::milliseconds pause{
            options.jitter.count() > 0 ? random() % options.jitter.count() : 0};
        if (!options.prepare.empty() && std::system((options.prepare + " " + word).c_str()) != 0)
            fail("the prepare command failed");
        display.runUntil([] { return false; }, pause);
        if (options.prepare.empty())
            display.copy(word);
        else
            display.select(word, options);
        const bool settled = display.runUntil(
            [&] {
                const Sample& s = display.sample();
                return s.answerPixels && display.stillFor(options.settle);
            },
            options.timeout);
        display.release(options);
        const Sample& sample = display.sample();
        std::printf("%-16s %8s %8s %8s %8s %8s\n", word.c_str(), figure(sample.answered).c_str(),
                    figure(sample.map).c_str(), figure(sample.firstPixels).c_str(),
                    figure(sample.answerPixels).c_str(), figure(sample.fullyDrawn).c_str());
        std::fflush(stdout);
        if (!settled)
            ++unanswered;
        else
            samples.push_back(sample);
    }

    std::vector<double> answered, maps, first, answerPixels, drawn;
    for (const Sample& sample : samples) {
        answered.push_back(*sample.answered);
        if (sample.map)
            maps.push_back(*sample.map);
        first.push_back(*sample.firstPixels);
        answerPixels.push_back(*sample.answerPixels);
        drawn.push_back(*sample.fullyDrawn);
    }
    std::printf("\n");
    summarise("copy → answered (title)", answered);
    summarise("copy → map", maps);
    summarise("copy → first pixels", first);
    summarise("copy → answer's pixels", answerPixels);
    summarise("copy → fully drawn", drawn);
    if (unanswered > 0)
        std::printf("unanswered or unsettled: %d of %zu\n", unanswered, options.words.size());
    return unanswered > 0 ? 1 : 0;
}
