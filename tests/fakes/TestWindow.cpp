// A stand-in application for tests on an X display: windows of a chosen WM_CLASS that report the
// keys they get.
//
//   ruvola_test_window --class NAME --instance NAME [--windows N]
//
// Prints "window 0xID" for each window once it is mapped, then "ready"; after that one line per
// key press, "key KEYSYMNAME STATE" (STATE being the X modifier mask in decimal). Closing its
// last window ends it.

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Options {
    std::string windowClass = "RuvolaTestWindow";
    std::string instance = "ruvola-test-window";
    int windows = 1;
};

bool parse(int argc, char** argv, Options& options) {
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        const bool hasValue = index + 1 < argc;
        if (argument == "--class" && hasValue) {
            options.windowClass = argv[++index];
        } else if (argument == "--instance" && hasValue) {
            options.instance = argv[++index];
        } else if (argument == "--windows" && hasValue) {
            options.windows = std::atoi(argv[++index]);
        } else {
            return false;
        }
    }
    return options.windows > 0;
}

Window makeWindow(Display* display, const Options& options, const std::string& title) {
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 240, 120,
                                              0, BlackPixel(display, DefaultScreen(display)),
                                              WhitePixel(display, DefaultScreen(display)));
    std::vector<char> instance(options.instance.begin(), options.instance.end());
    std::vector<char> windowClass(options.windowClass.begin(), options.windowClass.end());
    instance.push_back('\0');
    windowClass.push_back('\0');
    XClassHint classHint{instance.data(), windowClass.data()};
    XSetClassHint(display, window, &classHint);
    XStoreName(display, window, title.c_str());

    XWMHints hints{};
    hints.flags = InputHint | StateHint;
    hints.input = True;
    hints.initial_state = NormalState;
    XSetWMHints(display, window, &hints);

    // _NET_WM_PID only means something next to WM_CLIENT_MACHINE.
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    char* hostName = host;
    XTextProperty machine;
    if (XStringListToTextProperty(&hostName, 1, &machine) != 0) {
        XSetWMClientMachine(display, window, &machine);
        XFree(machine.value);
    }
    const long pid = getpid();
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&pid), 1);
    Atom deleteWindow = XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(display, window, &deleteWindow, 1);
    XSelectInput(display, window, KeyPressMask | StructureNotifyMask);
    return window;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: %s --class NAME --instance NAME [--windows N]\n", argv[0]);
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        std::fprintf(stderr, "can't open the display\n");
        return 1;
    }
    const std::string& title = options.windowClass;
    std::vector<Window> windows;
    for (int index = 0; index < options.windows; ++index) {
        windows.push_back(
            makeWindow(display, options,
                       options.windows == 1 ? title : title + " " + std::to_string(index + 1)));
    }
    for (const Window window : windows) {
        XMapWindow(display, window);
    }

    XKeysymToKeycode(display, XK_a); // loads the keymap now, not in the middle of a burst
    const Atom deleteWindow = XInternAtom(display, "WM_DELETE_WINDOW", False);
    std::set<Window> mapped;
    std::size_t open = windows.size();
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == MapNotify && mapped.size() < windows.size() &&
            mapped.insert(event.xmap.window).second) {
            std::printf("window 0x%lx\n", event.xmap.window);
            if (mapped.size() == windows.size()) {
                std::puts("ready");
            }
        } else if (event.type == MappingNotify) {
            XRefreshKeyboardMapping(&event.xmapping); // as toolkits do, for borrowed keycodes
        } else if (event.type == KeyPress) {
            KeySym keysym = NoSymbol;
            char text[32];
            XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
            const char* name = XKeysymToString(keysym);
            std::printf("key %s %u\n", name != nullptr ? name : "NoSymbol", event.xkey.state);
        } else if (event.type == ClientMessage &&
                   static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow) {
            XDestroyWindow(display, event.xclient.window);
            if (--open == 0) {
                break;
            }
        }
    }
    XCloseDisplay(display);
    return 0;
}
