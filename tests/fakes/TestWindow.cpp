// A stand-in application for tests on an X display: windows of a chosen WM_CLASS that report the
// keys they get.
//
//   ruvola_test_window --class NAME --instance NAME [--windows N]
//
// Prints "window 0xID" for each window once it is mapped, and one line per key press, "key
// KEYSYMNAME STATE" (STATE being the X modifier mask in decimal).

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <unistd.h>

int main(int argc, char** argv) {
    std::map<std::string, std::string> options{
        {"--class", "RuvolaTestWindow"}, {"--instance", "ruvola-test-window"}, {"--windows", "1"}};
    for (int index = 1; index + 1 < argc; index += 2) {
        options[argv[index]] = argv[index + 1];
    }
    const int windows = std::atoi(options["--windows"].c_str());
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr || windows < 1) {
        std::fprintf(stderr, "can't open the display\n");
        return 1;
    }
    for (int index = 0; index < windows; ++index) {
        const Window window =
            XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 240, 120, 0, 0, 0);
        XClassHint classHint{options["--instance"].data(), options["--class"].data()};
        XSetClassHint(display, window, &classHint);
        const long pid = getpid();
        XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL,
                        32, PropModeReplace, reinterpret_cast<const unsigned char*>(&pid), 1);
        XSelectInput(display, window, KeyPressMask | StructureNotifyMask);
        XMapWindow(display, window);
    }
    XKeysymToKeycode(display, XK_a); // loads the keymap now, not in the middle of a burst
    std::set<Window> mapped;
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == MapNotify && mapped.insert(event.xmap.window).second) {
            std::printf("window 0x%lx\n", event.xmap.window);
        } else if (event.type == MappingNotify) {
            XRefreshKeyboardMapping(&event.xmapping); // as toolkits do, for borrowed keycodes
        } else if (event.type == KeyPress) {
            KeySym keysym = NoSymbol;
            char text[32];
            XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
            const char* name = XKeysymToString(keysym);
            std::printf("key %s %u\n", name != nullptr ? name : "NoSymbol", event.xkey.state);
        }
    }
}
