#include "virtual_screen.h"

#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <cairo.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

constexpr auto kPatience = std::chrono::seconds(10);
constexpr int kLookMs = 5;
constexpr int kStartMs = 20000;

// Reads the display number that the server writes when it is ready.
static std::string ReadNumber(int channel)
{
    std::string number;
    pollfd source = {channel, POLLIN, 0};
    while (poll(&source, 1, kStartMs) > 0) {
        char byte = 0;
        if (read(channel, &byte, 1) != 1 || byte == '\n') break;
        number += byte;
    }
    return number;
}

// It writes nothing into the test's output, which would stay open as long as the server runs.
static int Start(pid_t &process, const std::vector<char *> &arguments)
{
    posix_spawn_file_actions_t files;
    (void)posix_spawn_file_actions_init(&files);
    (void)posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    (void)posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int failed = posix_spawnp(&process, "Xvfb", &files, nullptr, arguments.data(), environ);
    (void)posix_spawn_file_actions_destroy(&files);
    return failed;
}

// The server ends by itself when its last client, the test, has gone without ending it.
ScreenServer::ScreenServer(const std::string &screen, const std::vector<std::string> &options)
{
    int channel[2] = {-1, -1};
    if (pipe(channel) != 0) throw std::runtime_error("no pipe for Xvfb");
    std::vector<std::string> texts = {"Xvfb",      "-displayfd", std::to_string(channel[1]),
                                      "-screen",   "0",          screen,
                                      "-nolisten", "tcp",        "-terminate"};
    texts.insert(texts.end(), options.begin(), options.end());
    std::vector<char *> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string &text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);
    const int failed = Start(m_process, arguments);
    close(channel[1]);
    const std::string number = failed ? "" : ReadNumber(channel[0]);
    close(channel[0]);
    if (number.empty()) {
        Kill();
        throw std::runtime_error(
            "Xvfb does not start; scripts/install-dependencies.sh installs it");
    }
    m_name = ":" + number;
}

ScreenServer::~ScreenServer() { Kill(); }

void ScreenServer::Send(int signal) const { (void)kill(m_process, signal); }

void ScreenServer::Kill()
{
    if (m_process <= 0) return;
    Send(SIGKILL);
    while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    // A killed server leaves these behind.
    std::error_code ignored;
    const std::string number = m_name.empty() ? "" : m_name.substr(1);
    if (number.empty()) return;
    std::filesystem::remove("/tmp/.X" + number + "-lock", ignored);
    std::filesystem::remove("/tmp/.X11-unix/X" + number, ignored);
}

// A window may go between the moment it is found and the question for its title: Xlib would end the
// test. Once, before the library puts its own handler in front.
static void IgnoreErrors()
{
    const XErrorHandler now = XSetErrorHandler(nullptr);
    const XErrorHandler xlibsOwn = XSetErrorHandler(now);
    if (now != xlibsOwn) return;  // a test has one of its own
    (void)XSetErrorHandler([](Display *, XErrorEvent *) { return 0; });
}

VirtualScreen::VirtualScreen(const std::string &screen, const std::vector<std::string> &options)
    : m_server(screen, options), m_displayName("DISPLAY", m_server.Name().c_str()),
      m_headless("ZVK_HEADLESS", nullptr), m_display(XOpenDisplay(m_server.Name().c_str()))
{
    if (!m_display) throw std::runtime_error("can't connect to " + m_server.Name());
    IgnoreErrors();
}

// The connection is left to the end of the process: the server may be dead.
VirtualScreen::~VirtualScreen() = default;

void VirtualScreen::MoveTo(int x, int y) const
{
    XTestFakeMotionEvent(m_display, -1, x, y, CurrentTime);
    XSync(m_display, False);
}

void VirtualScreen::Button(unsigned button, bool down) const
{
    XTestFakeButtonEvent(m_display, button, down ? True : False, CurrentTime);
    XSync(m_display, False);
}

void VirtualScreen::Click(int x, int y, unsigned button) const
{
    MoveTo(x, y);
    Button(button, true);
    Button(button, false);
}

static Window FindIn(Display *display, Window window, const std::string &title)
{
    char *name = nullptr;
    if (XFetchName(display, window, &name) && name) {
        const bool found = title == name;
        XFree(name);
        if (found) return window;
    }
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned count = 0;
    Window result = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count)) return 0;
    for (unsigned i = 0; i < count && result == 0; ++i)
        result = FindIn(display, children[i], title);
    if (children) XFree(children);
    return result;
}

Window VirtualScreen::Find(const std::string &title) const
{
    return FindIn(m_display, DefaultRootWindow(m_display), title);
}

Window VirtualScreen::ParentOf(Window window) const
{
    Window root = 0;
    Window parent = 0;
    Window *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(m_display, window, &root, &parent, &children, &count)) return 0;
    if (children) XFree(children);
    return parent;
}

void VirtualScreen::AskToClose(Window window) const
{
    XEvent message = {};
    message.xclient.type = ClientMessage;
    message.xclient.window = window;
    message.xclient.message_type = XInternAtom(m_display, "WM_PROTOCOLS", False);
    message.xclient.format = 32;
    message.xclient.data.l[0] =
        static_cast<long>(XInternAtom(m_display, "WM_DELETE_WINDOW", False));
    XSendEvent(m_display, window, False, NoEventMask, &message);
    XSync(m_display, False);
}

XWindowAttributes VirtualScreen::FactsOf(Window window) const
{
    XWindowAttributes facts = {};
    if (window != 0) (void)XGetWindowAttributes(m_display, window, &facts);
    return facts;
}

std::vector<long> VirtualScreen::Numbers(Window window, const char *property) const
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char *bytes = nullptr;
    const Atom name = XInternAtom(m_display, property, False);
    std::vector<long> numbers;
    if (XGetWindowProperty(m_display, window, name, 0, 64, False, AnyPropertyType, &type, &format,
                           &count, &left, &bytes) == Success &&
        bytes && format == 32)
        numbers.assign(reinterpret_cast<long *>(bytes), reinterpret_cast<long *>(bytes) + count);
    if (bytes) XFree(bytes);
    return numbers;
}

static uint8_t Spread(unsigned long pixel, unsigned long mask)
{
    return mask == 0 ? 0 : static_cast<uint8_t>((pixel & mask) * 255 / mask);
}

static cv::Mat PictureOf(XImage *image)
{
    cv::Mat picture(image->height, image->width, CV_8UC3);
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            picture.at<cv::Vec3b>(y, x) = {Spread(pixel, image->blue_mask),
                                           Spread(pixel, image->green_mask),
                                           Spread(pixel, image->red_mask)};
        }
    return picture;
}

static cv::Mat Grab(Display *display, int x, int y, unsigned width, unsigned height)
{
    XImage *const image =
        XGetImage(display, DefaultRootWindow(display), x, y, width, height, AllPlanes, ZPixmap);
    if (!image) return {};
    cv::Mat picture = PictureOf(image);
    XDestroyImage(image);
    return picture;
}

static void WritePng(const cv::Mat &picture, const std::string &file)
{
    cairo_surface_t *const surface =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.cols, picture.rows);
    unsigned char *const pixels = cairo_image_surface_get_data(surface);
    const int step = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x) {
            const cv::Vec3b pixel = picture.at<cv::Vec3b>(y, x);
            std::copy(pixel.val, pixel.val + 3, pixels + y * step + x * 4);
        }
    cairo_surface_mark_dirty(surface);
    (void)cairo_surface_write_to_png(surface, file.c_str());
    cairo_surface_destroy(surface);
}

cv::Mat VirtualScreen::Look(const std::string &name) const
{
    const int screen = DefaultScreen(m_display);
    cv::Mat picture = Grab(m_display, 0, 0, static_cast<unsigned>(DisplayWidth(m_display, screen)),
                           static_cast<unsigned>(DisplayHeight(m_display, screen)));
    const char *const build = std::getenv("ZVK_TEST_BINARY_DIR");
    if (name.empty() || !build) return picture;
    const std::filesystem::path folder = std::filesystem::path(build) / "desktop";
    std::filesystem::create_directories(folder);
    WritePng(picture, (folder / (name + ".png")).string());
    return picture;
}

cv::Vec3b VirtualScreen::PixelAt(int x, int y) const
{
    const cv::Mat pixel = Grab(m_display, x, y, 1, 1);
    return pixel.empty() ? cv::Vec3b() : pixel.at<cv::Vec3b>(0, 0);
}

bool Soon(const std::function<bool()> &fact)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!fact()) {
        if (std::chrono::steady_clock::now() > end) return false;
        (void)poll(nullptr, 0, kLookMs);
    }
    return true;
}

int CountThreads()
{
    int count = 0;
    for ([[maybe_unused]] const auto &entry :
         std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}
