// orvella-testclient: a small plain-xcb application whose windows X tests and demos look at.
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// The window manager lists new windows within milliseconds; this only bounds a hang.
constexpr std::chrono::seconds kReadyTimeout{30};
constexpr uint32_t kIconicState = 3;
constexpr uint32_t kKeysymN = 0x6e;
// Without BIG-REQUESTS a request holds at most 256 KiB: large values go in slices.
constexpr size_t kSliceBytes = 128 * 1024;

const char kUsage[] =
    "usage: orvella-testclient [--class NAME] [--pid N] [--gtk-app-id ID] [--stay]\n"
    "         [--delay-ms N] [--desktop N] [--report-keys] [--fork] [--startup-on-leader]\n"
    "         [--title T [--size WxH] [--min-size WxH] [--iconic] [--no-title] [--no-input]\n"
    "          [--icon SIDE]...]...\n"
    "stdin: title INDEX TEXT | iconify INDEX | destroy INDEX | churn COUNT | quit\n"
    "stdout: \"ready 0xID TITLE\" per window once managed, \"closed 0xID\" when asked to close one;\n"
    "Ctrl+N in a window opens another like the first; --report-keys prints \"key 0xID\" per key press\n"
    "--fork: a child process with its own pid maps the windows, the started one exits at once\n"
    "$DESKTOP_STARTUP_ID becomes each window's _NET_STARTUP_ID, or with --startup-on-leader\n"
    "that of a group leader the windows name\n";

struct WindowSpec
{
    explicit WindowSpec(std::string text)
        : title(std::move(text))
    {}

    std::string title;
    bool setTitle = true;
    uint32_t width = 320, height = 200;
    uint32_t minWidth = 0, minHeight = 0;
    bool iconic = false;
    /// WM_HINTS input false: the window manager never gives it the focus.
    bool takesInput = true;
    std::vector<uint32_t> iconSides; // square images, in property order
};

struct Options
{
    std::vector<WindowSpec> windows;
    std::string windowClass = "orvella-testclient";
    std::optional<uint32_t> pid; ///< `_NET_WM_PID`; absent: the process's own
    std::string gtkAppId;
    /// Keep running when stdin closes (a background demo); windows and signals end it.
    bool stay = false;
    /// A slow application: its first windows map this long after the start.
    unsigned delayMs = 0;
    /// The desktop (0-based) the windows ask for; absent: the window manager decides.
    std::optional<uint32_t> desktop;
    bool reportKeys = false;
    /// Like a launcher script or a single-instance client: another process maps the windows.
    bool fork = false;
    /// The startup id goes on the group leader (as GTK puts it) rather than on each window.
    bool startupOnLeader = false;
};

struct Atoms
{
    xcb_atom_t netWmName, utf8String, netWmPid, netClientList, netWmIcon, gtkApplicationId, wmProtocols,
        wmDeleteWindow, wmChangeState, wmState, netWmDesktop, netStartupId;
};

struct Window
{
    xcb_window_t id = 0; // 0 once destroyed
    std::string title;
};

struct Client
{
    xcb_connection_t *c = nullptr;
    const xcb_screen_t *screen = nullptr;
    Atoms atoms{};
    Options options;
    std::vector<Window> windows; // creation order; the index is what commands name
    std::vector<xcb_keycode_t> keycodesN;
    int shortcutWindows = 0;
    std::string startupID;        ///< from DESKTOP_STARTUP_ID; empty when launched without one
    xcb_window_t groupLeader = 0; ///< with --startup-on-leader
};

[[noreturn]] void die(const char *message)
{
    std::fprintf(stderr, "orvella-testclient: %s\n", message);
    std::exit(1);
}

void parseSize(const char *text, uint32_t *width, uint32_t *height)
{
    unsigned w = 0, h = 0;
    char tail = 0;
    if (std::sscanf(text, "%ux%u%c", &w, &h, &tail) != 2 || w == 0 || h == 0 || w > 10000 || h > 10000)
        die("a size is WIDTHxHEIGHT, each side 1 to 10000");
    *width = w;
    *height = h;
}

// Options after a --title describe that window; the others are global.
bool parse(int argc, char **argv, Options *o)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
        WindowSpec *last = o->windows.empty() ? nullptr : &o->windows.back();
        if (arg == "--title" && value)
            o->windows.emplace_back(value);
        else if (arg == "--class" && value)
            o->windowClass = value;
        else if (arg == "--pid" && value)
            o->pid = uint32_t(std::strtoul(value, nullptr, 10));
        else if (arg == "--stay")
            o->stay = true;
        else if (arg == "--report-keys")
            o->reportKeys = true;
        else if (arg == "--fork")
            o->fork = true;
        else if (arg == "--startup-on-leader")
            o->startupOnLeader = true;
        else if (arg == "--delay-ms" && value)
            o->delayMs = unsigned(std::strtoul(value, nullptr, 10));
        else if (arg == "--desktop" && value)
            o->desktop = uint32_t(std::strtoul(value, nullptr, 10));
        else if (arg == "--gtk-app-id" && value)
            o->gtkAppId = value;
        else if (arg == "--size" && value && last)
            parseSize(value, &last->width, &last->height);
        else if (arg == "--min-size" && value && last)
            parseSize(value, &last->minWidth, &last->minHeight);
        else if (arg == "--icon" && value && last)
            last->iconSides.push_back(uint32_t(std::strtoul(value, nullptr, 10)));
        else if (arg == "--iconic" && last)
            last->iconic = true;
        else if (arg == "--no-title" && last)
            last->setTitle = false;
        else if (arg == "--no-input" && last)
            last->takesInput = false;
        else
            return false;
        i += arg != "--iconic" && arg != "--no-title" && arg != "--no-input" && arg != "--stay"
                     && arg != "--report-keys" && arg != "--fork" && arg != "--startup-on-leader"
                 ? 1
                 : 0;
    }
    if (o->windows.empty())
        o->windows.emplace_back("Test window");
    return true;
}

Atoms internAtoms(xcb_connection_t *c)
{
    struct Name
    {
        const char *name;
        xcb_atom_t Atoms::*member;
    };
    const Name names[] = {
        {"_NET_WM_NAME", &Atoms::netWmName},        {"UTF8_STRING", &Atoms::utf8String},
        {"_NET_WM_PID", &Atoms::netWmPid},          {"_NET_CLIENT_LIST", &Atoms::netClientList},
        {"_NET_WM_ICON", &Atoms::netWmIcon},        {"_GTK_APPLICATION_ID", &Atoms::gtkApplicationId},
        {"WM_PROTOCOLS", &Atoms::wmProtocols},      {"WM_DELETE_WINDOW", &Atoms::wmDeleteWindow},
        {"WM_CHANGE_STATE", &Atoms::wmChangeState}, {"WM_STATE", &Atoms::wmState},
        {"_NET_WM_DESKTOP", &Atoms::netWmDesktop},  {"_NET_STARTUP_ID", &Atoms::netStartupId},
    };
    xcb_intern_atom_cookie_t cookies[std::size(names)];
    for (size_t i = 0; i < std::size(names); ++i)
        cookies[i] = xcb_intern_atom(c, 0, std::strlen(names[i].name), names[i].name);
    Atoms atoms{};
    for (size_t i = 0; i < std::size(names); ++i) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(c, cookies[i], nullptr), &std::free);
        if (!reply)
            die("cannot intern atoms");
        atoms.*names[i].member = reply->atom;
    }
    return atoms;
}

// The keycodes that type "n", for the Ctrl+N shortcut.
std::vector<xcb_keycode_t> keycodesForN(xcb_connection_t *c)
{
    const xcb_setup_t *setup = xcb_get_setup(c);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> map(
        xcb_get_keyboard_mapping_reply(c, xcb_get_keyboard_mapping(c, setup->min_keycode, count), nullptr),
        &std::free);
    std::vector<xcb_keycode_t> out;
    if (!map || map->keysyms_per_keycode == 0)
        return out;
    const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(map.get());
    const int length = xcb_get_keyboard_mapping_keysyms_length(map.get());
    for (int i = 0; i < length; ++i) {
        if (syms[i] == kKeysymN)
            out.push_back(xcb_keycode_t(setup->min_keycode + i / map->keysyms_per_keycode));
    }
    return out;
}

void setProperty(xcb_connection_t *c, xcb_window_t w, xcb_atom_t property, xcb_atom_t type, uint8_t format,
                 const void *data, size_t bytes)
{
    const size_t unit = format / 8;
    const auto *p = static_cast<const char *>(data);
    size_t done = 0;
    do {
        const size_t slice = std::min(bytes - done, kSliceBytes);
        xcb_change_property(c, done == 0 ? XCB_PROP_MODE_REPLACE : XCB_PROP_MODE_APPEND, w, property, type,
                            format, uint32_t(slice / unit), p + done);
        done += slice;
    } while (done < bytes);
}

void setText(xcb_connection_t *c, xcb_window_t w, xcb_atom_t property, xcb_atom_t type,
             const std::string &value)
{
    setProperty(c, w, property, type, 8, value.data(), value.size());
}

// WM_NAME too, typed UTF8_STRING as toolkits set it, for readers that fall back on it.
void setTitle(const Client &cl, xcb_window_t w, const std::string &title)
{
    for (const xcb_atom_t property : {cl.atoms.netWmName, xcb_atom_t(XCB_ATOM_WM_NAME)})
        setText(cl.c, w, property, cl.atoms.utf8String, title);
}

std::vector<uint32_t> iconData(const WindowSpec &spec)
{
    std::vector<uint32_t> data;
    for (uint32_t side : spec.iconSides) {
        data.insert(data.end(), {side, side});
        data.insert(data.end(), size_t(side) * side, 0xff000000u | (side * 0x050301u & 0xffffffu));
    }
    return data;
}

// The server has applied every request sent so far once this returns.
void sync(xcb_connection_t *c)
{
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

xcb_window_t createWindow(Client &cl, const WindowSpec &spec)
{
    xcb_connection_t *c = cl.c;
    const xcb_window_t w = xcb_generate_id(c);
    const uint32_t values[] = {0x3c6e9f, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, w, cl.screen->root, 0, 0, uint16_t(spec.width),
                      uint16_t(spec.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, cl.screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    if (spec.setTitle)
        setTitle(cl, w, spec.title);
    const std::string wmClass = cl.options.windowClass;
    setText(c, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, wmClass + '\0' + wmClass + '\0');
    const uint32_t pid = cl.options.pid.value_or(uint32_t(::getpid()));
    setProperty(c, w, cl.atoms.netWmPid, XCB_ATOM_CARDINAL, 32, &pid, 4);
    if (!cl.startupID.empty() && !cl.groupLeader)
        setText(c, w, cl.atoms.netStartupId, cl.atoms.utf8String, cl.startupID);
    if (!cl.options.gtkAppId.empty())
        setText(c, w, cl.atoms.gtkApplicationId, cl.atoms.utf8String, cl.options.gtkAppId);
    setProperty(c, w, cl.atoms.wmProtocols, XCB_ATOM_ATOM, 32, &cl.atoms.wmDeleteWindow, 4);
    // WM_HINTS: flags (InputHint, StateHint when iconic, WindowGroupHint with a leader),
    // input, initial_state, four unused, window_group.
    const uint32_t hints[9] = {(spec.iconic ? 3u : 1u) | (cl.groupLeader ? 64u : 0u),
                               spec.takesInput ? 1u : 0u,
                               spec.iconic ? kIconicState : 1u,
                               0,
                               0,
                               0,
                               0,
                               0,
                               cl.groupLeader};
    setProperty(c, w, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32, hints, sizeof hints);
    // WM_NORMAL_HINTS: flags (PSize, PMinSize when asked), x, y, width, height, minimum size...
    const uint32_t sizeHints[18] = {
        spec.minWidth ? 8u | 16u : 8u, 0, 0, spec.width, spec.height, spec.minWidth, spec.minHeight};
    setProperty(c, w, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32, sizeHints, sizeof sizeHints);
    if (cl.options.desktop)
        setProperty(c, w, cl.atoms.netWmDesktop, XCB_ATOM_CARDINAL, 32, &*cl.options.desktop, 4);
    if (const std::vector<uint32_t> icon = iconData(spec); !icon.empty())
        setProperty(c, w, cl.atoms.netWmIcon, XCB_ATOM_CARDINAL, 32, icon.data(), icon.size() * 4);
    xcb_map_window(c, w);
    cl.windows.push_back({w, spec.title});
    return w;
}

// Managed: in _NET_CLIENT_LIST, and given WM_STATE by the window manager. The list alone
// can mislead: a new window may reuse the id of one that ended but is still listed.
bool isListed(const Client &cl, const std::vector<xcb_window_t> &windows)
{
    const auto listCookie =
        xcb_get_property(cl.c, 0, cl.screen->root, cl.atoms.netClientList, XCB_ATOM_WINDOW, 0, 65536);
    std::vector<xcb_get_property_cookie_t> stateCookies;
    for (xcb_window_t w : windows)
        stateCookies.push_back(xcb_get_property(cl.c, 0, w, cl.atoms.wmState, cl.atoms.wmState, 0, 1));
    const auto take = [&](xcb_get_property_cookie_t cookie) {
        return std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)>(
            xcb_get_property_reply(cl.c, cookie, nullptr), &std::free);
    };
    const auto list = take(listCookie);
    bool managed = true;
    for (const auto cookie : stateCookies) {
        const auto state = take(cookie);
        managed = managed && state && state->type == cl.atoms.wmState && state->value_len == 1;
    }
    if (!managed || !list || list->format != 32)
        return false;
    const auto *begin = static_cast<const xcb_window_t *>(xcb_get_property_value(list.get()));
    const auto *end = begin + xcb_get_property_value_length(list.get()) / 4;
    return std::all_of(windows.begin(), windows.end(),
                       [&](xcb_window_t w) { return std::find(begin, end, w) != end; });
}

// Blocks on PropertyNotify events of the root and the windows (selected before mapping, so
// none is missed); other events that arrive meanwhile are dropped, which only the start
// and `churn` may do.
void waitUntilListed(const Client &cl, const std::vector<xcb_window_t> &windows)
{
    const auto deadline = std::chrono::steady_clock::now() + kReadyTimeout;
    bool changed = true;
    while (!(changed && isListed(cl, windows))) {
        // Events read during the round trip above are queued already; take them first.
        changed = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(cl.c)) {
            changed = changed || (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY;
            std::free(event);
        }
        if (xcb_connection_has_error(cl.c))
            die("lost the connection to the X server");
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd fd{xcb_get_file_descriptor(cl.c), POLLIN, 0};
        if (!changed && ::poll(&fd, 1, int(std::max<long>(0, left.count()))) == 0)
            die("the window manager did not list the windows in _NET_CLIENT_LIST");
    }
}

void destroyWindow(Client &cl, Window &w)
{
    xcb_destroy_window(cl.c, w.id);
    w.id = 0;
    sync(cl.c);
}

bool anyWindowLeft(const Client &cl)
{
    return std::any_of(cl.windows.begin(), cl.windows.end(), [](const Window &w) { return w.id != 0; });
}

// Handles one event; false once the last window has been closed.
bool handleEvent(Client &cl, const xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto *e = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if (e->type != cl.atoms.wmProtocols || e->data.data32[0] != cl.atoms.wmDeleteWindow)
            return true;
        for (Window &w : cl.windows) {
            if (w.id != 0 && w.id == e->window) {
                std::printf("closed 0x%x\n", w.id);
                std::fflush(stdout);
                destroyWindow(cl, w);
            }
        }
        return anyWindowLeft(cl);
    }
    case XCB_KEY_PRESS: {
        const auto *e = reinterpret_cast<const xcb_key_press_event_t *>(event);
        if (cl.options.reportKeys) {
            std::printf("key 0x%x %u %u\n", e->event, unsigned(e->detail), unsigned(e->state));
            std::fflush(stdout);
        }
        const bool isN = std::find(cl.keycodesN.begin(), cl.keycodesN.end(), e->detail) != cl.keycodesN.end();
        if (isN && (e->state & XCB_MOD_MASK_CONTROL)) {
            WindowSpec spec = cl.options.windows.front();
            spec.title += ' ' + std::to_string(2 + cl.shortcutWindows++);
            spec.iconic = false;
            spec.setTitle = true;
            createWindow(cl, spec);
            xcb_flush(cl.c);
        }
        return true;
    }
    default: return true;
    }
}

Window *windowAt(Client &cl, const std::string &index)
{
    char *end = nullptr;
    const unsigned long i = std::strtoul(index.c_str(), &end, 10);
    if (index.empty() || *end != '\0' || i >= cl.windows.size() || cl.windows[i].id == 0)
        return nullptr;
    return &cl.windows[i];
}

// Runs one stdin command and answers it; false for "quit" or when no window is left.
bool handleCommand(Client &cl, const std::string &line)
{
    const size_t space = line.find(' ');
    const std::string verb = line.substr(0, space);
    const std::string rest = space == std::string::npos ? std::string() : line.substr(space + 1);
    const size_t split = rest.find(' ');
    const std::string index = rest.substr(0, split);
    Window *w = windowAt(cl, index);
    if (verb == "quit")
        return false;
    if (verb == "churn") {
        const int count = std::atoi(rest.c_str());
        for (int i = 0; i < count; ++i) {
            const WindowSpec spec("Churn " + std::to_string(i));
            const xcb_window_t id = createWindow(cl, spec);
            xcb_flush(cl.c);
            waitUntilListed(cl, {id});
            destroyWindow(cl, cl.windows.back());
            cl.windows.pop_back(); // churned windows take no index
        }
        std::printf("ok churn %d\n", count);
    } else if ((verb == "title" || verb == "iconify" || verb == "destroy") && !w) {
        std::printf("error no window %s\n", index.c_str());
    } else if (verb == "title") {
        w->title = split == std::string::npos ? std::string() : rest.substr(split + 1);
        setTitle(cl, w->id, w->title);
        sync(cl.c);
        std::printf("ok title %s\n", index.c_str());
    } else if (verb == "iconify") {
        // ICCCM: ask the window manager, which unmaps the window and sets WM_STATE.
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = w->id;
        message.type = cl.atoms.wmChangeState;
        message.data.data32[0] = kIconicState;
        xcb_send_event(cl.c, 0, cl.screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&message));
        sync(cl.c);
        std::printf("ok iconify %s\n", index.c_str());
    } else if (verb == "destroy") {
        destroyWindow(cl, *w);
        std::printf("ok destroy %s\n", index.c_str());
    } else {
        std::printf("error unknown command: %s\n", verb.c_str());
    }
    std::fflush(stdout);
    return anyWindowLeft(cl);
}

// Reads what stdin has and runs each complete line; false once it is closed or a
// command ends the client.
bool handleInput(Client &cl, std::string *pending, bool *closed)
{
    char buffer[65536];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0)
        return errno == EINTR || errno == EAGAIN;
    *closed = got == 0;
    pending->append(buffer, size_t(got));
    for (size_t eol; (eol = pending->find('\n')) != std::string::npos;) {
        const std::string line = pending->substr(0, eol);
        pending->erase(0, eol + 1);
        if (!handleCommand(cl, line))
            return false;
    }
    return got > 0;
}

} // namespace

int main(int argc, char **argv)
{
    Client cl;
    if (!parse(argc, argv, &cl.options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (cl.options.fork) {
        const pid_t child = ::fork();
        if (child < 0)
            die("cannot fork");
        if (child > 0)
            return 0;
    }
    if (cl.options.delayMs > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(cl.options.delayMs));
    if (const char *id = std::getenv("DESKTOP_STARTUP_ID"))
        cl.startupID = id;
    // A private Xvfb has one screen.
    cl.c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(cl.c))
        die("cannot connect to the X server");
    cl.screen = xcb_setup_roots_iterator(xcb_get_setup(cl.c)).data;
    cl.atoms = internAtoms(cl.c);
    cl.keycodesN = keycodesForN(cl.c);

    if (!cl.startupID.empty() && cl.options.startupOnLeader) {
        // An unmapped window that only leads the group, as toolkits make one.
        cl.groupLeader = xcb_generate_id(cl.c);
        xcb_create_window(cl.c, XCB_COPY_FROM_PARENT, cl.groupLeader, cl.screen->root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        setText(cl.c, cl.groupLeader, cl.atoms.netStartupId, cl.atoms.utf8String, cl.startupID);
    }
    const uint32_t propertyChanges = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(cl.c, cl.screen->root, XCB_CW_EVENT_MASK, &propertyChanges);
    std::vector<xcb_window_t> initial;
    for (const WindowSpec &spec : cl.options.windows)
        initial.push_back(createWindow(cl, spec));
    xcb_flush(cl.c);
    waitUntilListed(cl, initial);
    for (const Window &w : cl.windows)
        std::printf("ready 0x%x %s\n", w.id, w.title.c_str());
    std::fflush(stdout);

    // Stay until stdin closes or says "quit", or the last window is closed.
    std::string pending;
    pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {xcb_get_file_descriptor(cl.c), POLLIN, 0}};
    for (bool running = true; running;) {
        // Round trips queue events inside xcb, where poll() cannot see them: drain first.
        while (xcb_generic_event_t *event = xcb_poll_for_event(cl.c)) {
            running = handleEvent(cl, event) && running;
            std::free(event);
        }
        if (xcb_connection_has_error(cl.c))
            die("lost the connection to the X server");
        xcb_flush(cl.c);
        if (running && ::poll(fds, 2, -1) > 0 && fds[0].revents != 0) {
            bool closed = false;
            running = handleInput(cl, &pending, &closed);
            if (closed && cl.options.stay) {
                running = true;
                fds[0].fd = -1; // poll() skips it from now on
            }
        }
    }
    xcb_disconnect(cl.c);
    return 0;
}
