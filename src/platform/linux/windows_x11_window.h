#ifndef QUORVEX_PLATFORM_WINDOWS_X11_WINDOW_H
#define QUORVEX_PLATFORM_WINDOWS_X11_WINDOW_H

// One window of ours: what it is on the screen, the picture it shows, and whom its mouse events go
// to. All but the mailbox belongs to the display's thread.

#include "platform/linux/windows_x11_mouse.h"
#include "platform/linux/windows_x11_pixels.h"
#include "platform/windows.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A picture on its way from any thread to the display's: the newest one wins.
struct ZVK_PictureMailbox
{
    std::mutex guard;
    std::vector<uint8_t> pixels;  // rows without gaps
    int32_t width = 0;
    int32_t height = 0;
    bool fresh = false;
    bool onScreen = false;  // no picture is taken for a window that isn't there
};

struct ZVK_ScreenFacts
{
    Visual *visual = nullptr;
    int depth = 0;
    Colormap colors = 0;
    ZVK_ScreenFormat format;
};

struct ZVK_OwnWindow
{
    std::string title;
    Window id = 0;          // 0: closed by its user, or gone with its parent
    bool inParent = false;  // in a client's window
    int32_t width = 640;
    int32_t height = 480;
    int32_t x = 0;  // on the screen, or in the parent
    int32_t y = 0;
    uint32_t style = 0;
    uint32_t extendedStyle = 0;
    ZVK_MouseCallback callback = nullptr;
    void *param = nullptr;
    ZVK_LastPress lastPress;
    std::shared_ptr<ZVK_PictureMailbox> mailbox;

    std::vector<uint8_t> picture;  // the one shown
    int32_t pictureWidth = 0;      // 0: none yet
    int32_t pictureHeight = 0;
    GC gc = nullptr;
    XImage *image = nullptr;       // the picture as the screen takes it, in `block`
    std::vector<uint8_t> block;    // of the image
    std::vector<int32_t> columns;  // scratch
};

struct ZVK_PicturePoint
{
    int32_t x = 0;
    int32_t y = 0;
};

// What the screen offers. False when it has no visual that shows colours by themselves.
bool ReadScreenFacts(Display *display, ZVK_ScreenFacts &facts);

void PutOnScreen(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window);
void TakeOffScreen(Display *display, ZVK_OwnWindow &window);  // it stays known
void ForgetScreen(Display *display, ZVK_OwnWindow &window);   // the server has destroyed it already

void DrawWaitingPicture(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window);
void Repaint(Display *display, ZVK_OwnWindow &window);

// Which pixel of the picture is at a place of the window; places outside count as its edge.
ZVK_PicturePoint PictureAt(const ZVK_OwnWindow &window, int32_t x, int32_t y);

void TakeSize(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window, int32_t width,
              int32_t height);
void TellPlace(Display *display, const ZVK_OwnWindow &window);

#endif
