// orvella-testclient: a small plain-xcb application whose windows X tests and demos look at.
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The window manager lists new windows within milliseconds; this only bounds a hang.
constexpr std::chrono::seconds kReadyTimeout{30};

struct Options
{
    std::vector<std::string> titles;
    std::string windowClass = "orvella-testclient";
    bool pid = true;
};

struct Atoms
{
    xcb_atom_t netWmName;
    xcb_atom_t utf8String;
    xcb_atom_t netWmPid;
    xcb_atom_t netClientList;
};

[[noreturn]] void die(const char *message)
{
    std::fprintf(stderr, "orvella-testclient: %s\n", message);
    std::exit(1);
}

bool parse(int argc, char **argv, Options *options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--title" && i + 1 < argc)
            options->titles.emplace_back(argv[++i]);
        else if (arg == "--class" && i + 1 < argc)
            options->windowClass = argv[++i];
        else if (arg == "--no-pid")
            options->pid = false;
        else
            return false;
    }
    if (options->titles.empty())
        options->titles.emplace_back("Test window");
    return true;
}

Atoms internAtoms(xcb_connection_t *c)
{
    const auto request = [c](const char *name) { return xcb_intern_atom(c, 0, std::strlen(name), name); };
    const auto atom = [c](xcb_intern_atom_cookie_t cookie) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(c, cookie, nullptr), &std::free);
        if (!reply)
            die("cannot intern atoms");
        return reply->atom;
    };
    const auto netWmName = request("_NET_WM_NAME");
    const auto utf8String = request("UTF8_STRING");
    const auto netWmPid = request("_NET_WM_PID");
    const auto netClientList = request("_NET_CLIENT_LIST");
    return {atom(netWmName), atom(utf8String), atom(netWmPid), atom(netClientList)};
}

// WM_NAME is Latin-1 by definition; characters beyond it become '?'.
std::string toLatin1(const std::string &utf8)
{
    std::string out;
    for (size_t i = 0; i < utf8.size();) {
        const unsigned char lead = utf8[i];
        const size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        if (lead >= 0xc2 && lead < 0xc4 && i + 1 < utf8.size())
            out += char(((lead & 0x1f) << 6) | (utf8[i + 1] & 0x3f));
        else
            out += length == 1 ? char(lead) : '?';
        i += length;
    }
    return out;
}

void setText(xcb_connection_t *c, xcb_window_t w, xcb_atom_t property, xcb_atom_t type,
             const std::string &value)
{
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, property, type, 8, value.size(), value.data());
}

xcb_window_t createWindow(xcb_connection_t *c, const xcb_screen_t *screen, const Atoms &atoms,
                          const Options &options, const std::string &title)
{
    const xcb_window_t w = xcb_generate_id(c);
    const uint32_t background = 0x3c6e9f;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, w, screen->root, 0, 0, 320, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL, &background);
    setText(c, w, atoms.netWmName, atoms.utf8String, title);
    setText(c, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, toLatin1(title));
    setText(c, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
            options.windowClass + '\0' + options.windowClass + '\0');
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    setText(c, w, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host);
    if (options.pid) {
        const uint32_t pid = uint32_t(::getpid());
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, atoms.netWmPid, XCB_ATOM_CARDINAL, 32, 1, &pid);
    }
    xcb_map_window(c, w);
    return w;
}

bool allListed(xcb_connection_t *c, xcb_window_t root, const Atoms &atoms,
               const std::vector<xcb_window_t> &windows)
{
    const auto cookie = xcb_get_property(c, 0, root, atoms.netClientList, XCB_ATOM_WINDOW, 0, 65536);
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> list(
        xcb_get_property_reply(c, cookie, nullptr), &std::free);
    if (!list || list->format != 32)
        return false;
    const auto *begin = static_cast<const xcb_window_t *>(xcb_get_property_value(list.get()));
    const auto *end = begin + xcb_get_property_value_length(list.get()) / 4;
    return std::all_of(windows.begin(), windows.end(),
                       [&](xcb_window_t w) { return std::find(begin, end, w) != end; });
}

// Waits on root PropertyNotify events (selected before mapping, so that none is missed).
void waitUntilListed(xcb_connection_t *c, xcb_window_t root, const Atoms &atoms,
                     const std::vector<xcb_window_t> &windows)
{
    const auto deadline = std::chrono::steady_clock::now() + kReadyTimeout;
    bool changed = true;
    while (!(changed && allListed(c, root, atoms, windows))) {
        // Events read during the round trip above are queued already; take them first.
        changed = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(c)) {
            changed = changed || (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY;
            std::free(event);
        }
        if (xcb_connection_has_error(c))
            die("lost the connection to the X server");
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
        if (!changed && ::poll(&fd, 1, int(std::max<long>(0, left.count()))) == 0)
            die("the window manager did not list the windows in _NET_CLIENT_LIST");
    }
}

// Reads what stdin has; false once it is closed or says "quit".
bool handleInput(std::string *pending)
{
    char buffer[512];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0)
        return errno == EINTR || errno == EAGAIN;
    pending->append(buffer, size_t(std::max<ssize_t>(got, 0)));
    for (size_t eol; (eol = pending->find('\n')) != std::string::npos; pending->erase(0, eol + 1)) {
        if (pending->substr(0, eol) == "quit")
            return false;
    }
    return got > 0;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!parse(argc, argv, &options)) {
        std::fprintf(stderr, "usage: orvella-testclient [--title T]... [--class NAME] [--no-pid]\n");
        return 2;
    }
    int screenNumber = 0;
    xcb_connection_t *c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c))
        die("cannot connect to the X server");
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (; screenNumber > 0; --screenNumber)
        xcb_screen_next(&it);
    const xcb_screen_t *screen = it.data;
    const Atoms atoms = internAtoms(c);

    const uint32_t propertyChanges = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, screen->root, XCB_CW_EVENT_MASK, &propertyChanges);
    std::vector<xcb_window_t> windows;
    for (const std::string &title : options.titles)
        windows.push_back(createWindow(c, screen, atoms, options, title));
    xcb_flush(c);
    waitUntilListed(c, screen->root, atoms, windows);
    for (size_t i = 0; i < windows.size(); ++i)
        std::printf("ready 0x%x %s\n", windows[i], options.titles[i].c_str());
    std::fflush(stdout);

    // Stay until stdin closes or says "quit"; draining X events also reveals a lost server.
    std::string pending;
    pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {xcb_get_file_descriptor(c), POLLIN, 0}};
    for (;;) {
        while (xcb_generic_event_t *event = xcb_poll_for_event(c))
            std::free(event);
        if (xcb_connection_has_error(c))
            die("lost the connection to the X server");
        if (::poll(fds, 2, -1) > 0 && fds[0].revents != 0 && !handleInput(&pending))
            break;
    }
    xcb_disconnect(c);
    return 0;
}
