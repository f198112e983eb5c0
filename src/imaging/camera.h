#ifndef QUORVEX_IMAGING_CAMERA_H
#define QUORVEX_IMAGING_CAMERA_H

// The camera module's state record, its locks, and the calls that its files use among themselves.
// Clients see quorvex/camera.h.
//
// Three kinds of thread meet here: clients', the acquisition loop's, the display loop's; the
// window's thread joins them with mouse events. What keeps them apart, outermost lock first:
//
//   CameraTurn()     a call that builds or ends something for as long as it lasts: Init, Shutdown,
//   a
//                    rebuild of the images. Recursive. The loops and the window never take it.
//   CameraPicture()  all images but acquiredImage: their pixels and the cv::Mat records themselves,
//                    and the histograms. The display loop holds it for a whole pass, and what runs
//                    inside a pass (DrawOverlay, ComputeHistogram and so on) has it already.
//   CameraFrame()    acquiredImage. The acquisition loop holds it while it copies, stamps and
//                    records a frame.
//   CameraWriter()   videoWriter, held while a frame is written or the writer exchanged.
//   CameraData()     every plain field of the record, and only for as long as fields are copied: no
//                    call into another module, a seam or OpenCV is made under it.
//
// workImage is handed over: while frameConsumed is set the acquisition loop may write it (with
// CameraFrame held), while it is clear it belongs to the display pass. A rebuild holds
// CameraPicture and CameraFrame, so that no loop sees a set that is being exchanged.
//
// Whoever changes a field that a loop waits for calls CameraChanged() (after the change).

#include "platform/memory.h"
#include "quorvex/errors.h"
#include "quorvex/types.h"

#include <opencv2/core.hpp>
#include <opencv2/core/types_c.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A Hershey font as cv::putText takes it.
struct ZVK_CameraFont
{
    int face = 0;
    double scale = 0.0;
    int thickness = 1;
    int lineType = 16;  // antialiased
};

struct ZVK_CameraPoint
{
    int32_t x = 0;
    int32_t y = 0;
};

struct ZVK_FreePixels
{
    void operator()(uint8_t *pixels) const { Memory().release(pixels); }
};

// An image whose pixels come from the general heap, so that their lack has a status: rows begin at
// multiples of four bytes. OpenCV takes it as any cv::Mat; Drop ends both.
struct ZVK_CameraImage : cv::Mat
{
    void Drop();

    std::unique_ptr<uint8_t, ZVK_FreePixels> pixels;
};

// Where the traps of one path are drawn: room that grows and is kept, so that a display pass asks
// for none. Lock CameraPicture.
struct ZVK_CameraMarkers
{
    std::vector<double> x;  // frame pixels
    std::vector<double> y;
    std::vector<char> text;      // kTrapLabelRoom bytes a trap
    std::vector<char *> labels;  // into text
};

// One camera a process. Flags of one byte are 0 or 1.
struct ZVK_CameraState
{
    // -- what there is --
    int32_t installed = 0;          // key MI; not 0: a camera is configured
    int32_t simulate = 0;           // key SIMULATE
    int32_t initialised = 0;        // 1 after a simulated ZVK_Camera_Init
    int32_t acquireThreadId = 0;    // pool function; 0: none. Lock CameraTurn
    int32_t displayThreadId = 0;    // the same
    int32_t threadPool = 0;         // 1: the loops were started without simulation. Lock CameraTurn
    int32_t backend = 0;            // key BACKEND; a number at Init, a bit set elsewhere
    int32_t colorMode = 0;          // key COLORMODE: 1 colour, 2 grey, 4 8, 8 12, 16 14, 32 16 bit
    SessionHandle loopSession = 0;  // what the loops are given; it outlives the call of Init
    char modelName[256] = {};

    // -- sizes, in pixels --
    int32_t nativeWidth = 0;
    int32_t nativeHeight = 0;
    int32_t acquiredWidth = 0;
    int32_t acquiredHeight = 0;
    int32_t sensorOffsetX = 0;  // first sensor column of the region of interest
    int32_t sensorOffsetY = 0;
    int32_t displayWidth = 0;
    int32_t displayHeight = 0;
    int32_t binning = 0;  // 1 from Init on, never changed

    // -- view: the rectangle of the frame that is shown, in frame pixels --
    int32_t viewX = 0;
    int32_t viewY = 0;
    int32_t viewWidth = 0;
    int32_t viewHeight = 0;
    double zoom = 0.0;           // 1.0 after Init
    ZVK_CameraPoint zoomCenter;  // the last one accepted
    int32_t pixelX = 0;          // frame pixel of the last mouse event
    int32_t pixelY = 0;
    uint32_t mouseMessage = 0;  // id of the registered message; 0: none
    int32_t flip = 0;           // -1 to 4

    // -- rates --
    float exposureTime = 0.0F;  // s, key EXPOSURETIME
    double framesPerSecond = 0.0;
    double frameRateSum = 0.0;       // of 1/difference since the last multiple of 20 frames
    double previousFrameTime = 0.0;  // s of the clock
    double currentFrameTime = 0.0;
    int32_t frameCount = 0;
    char fpsText[256] = {};

    // -- switches --
    uint8_t userOverlayOn = 0;
    uint8_t sdkOverlayOn = 0;
    uint8_t backgroundOn = 0;
    uint8_t trapMarkersOn = 0;
    uint8_t calFieldOn[2] = {};
    uint8_t frameRateOn = 0;
    double overlayAlpha = 0.0;  // 1.0 after Init
    double contrastLow = 0.0;   // counts
    double contrastHigh = 0.0;
    uint8_t contrastChanged = 0;
    uint8_t autoContrast = 0;
    uint8_t computeHistogram = 0;
    uint8_t histogramsCreated = 0;
    int32_t histogramSupport = 0;  // key HISTOSUPPORT; exactly 1: there is a histogram window
    ZVK_CameraFont trapFont;       // of ZVK_Camera_InitFonts
    ZVK_CameraFont textFont;
    ZVK_CameraFont spareFont;  // nothing draws with it

    // -- attributes --
    int32_t coolerSetPoint = 0;  // key COOLERTEMP
    int32_t coolerMaximum = 0;
    int32_t coolerMinimum = 0;
    uint8_t coolerOn = 0;  // key STARTCOOLING
    int32_t acquisitionMode = 0;

    // -- recording --
    uint8_t recording = 0;        // the loops write frames
    uint8_t recordingActive = 0;  // set and cleared beside it, never read
    uint8_t recordWithOverlay = 0;
    int32_t dcimgMode = 0;
    int32_t recordStartFrame = 0;
    int32_t recordedSpan = 0;
    int32_t recordFrameNumber = 0;
    double recordStartTime = 0.0;
    double recordElapsed = 0.0;

    // -- the loops' flags --
    uint8_t runAcquire = 0;
    uint8_t runDisplay = 0;
    uint8_t acquireRunning = 0;
    uint8_t displayRunning = 0;
    uint8_t stopAcquire = 0;  // a loop that has been scheduled and not begun ends at once
    uint8_t stopDisplay = 0;
    uint8_t frameReady = 0;
    uint8_t frameConsumed = 0;
    uint8_t buffersRebuilding = 0;
    uint8_t liveRequested = 0;
    uint8_t snapRequested = 0;

    // -- images: 8 bit, 3 channels where nothing else is said; empty when there is none --
    ZVK_CameraImage acquiredImage;  // acquired size. Lock CameraFrame
    ZVK_CameraImage workImage;      // acquired size; handed over
    // All below: lock CameraPicture.
    ZVK_CameraImage adjustedImage;         // acquired size
    ZVK_CameraImage backgroundImage;       // acquired size
    ZVK_CameraImage blendImage;            // acquired size, scratch
    ZVK_CameraImage contrastScratchImage;  // acquired size
    ZVK_CameraImage rawImage;              // acquired size, one channel: the frame in grey
    ZVK_CameraImage planeImage[3];         // acquired size, one channel
    ZVK_CameraImage scaledImage;           // display size
    cv::Mat flipImage;                     // display size transposed; empty until a flip needs it
    ZVK_CameraImage displayImage;          // display size
    ZVK_CameraImage userOverlayImage;      // display size
    ZVK_CameraImage histogramImage;        // 256 by 100
    cv::Mat histograms[4];                 // 256 floats: grey, then the planes
    float histogramEnd = 0.0F;  // counts from here on are in no bin; with histogramsCreated
    ZVK_CameraMarkers markers;
    // What clients' handles point to; in the record, so that a handle never dangles. While there is
    // no picture their imageData is null. Lock CameraPicture.
    IplImage displayHeader = {};
    IplImage userOverlayHeader = {};

    // -- files --
    void *videoWriter = nullptr;  // owned; null also when it couldn't be opened. Lock CameraWriter
    std::string stampText;        // the line in a recorded frame. Lock CameraFrame
};

// Never destroyed: the loops may run while the process ends.
extern ZVK_CameraState &g_camera;

std::recursive_mutex &CameraTurn();
std::mutex &CameraPicture();
std::mutex &CameraFrame();
std::mutex &CameraWriter();
std::mutex &CameraData();
std::condition_variable &CameraCondition();  // with CameraData: a field that a loop waits for
void CameraChanged();                        // wakes the loops, and who waits for them

// A plain field, read or written under CameraData.
template <class Value>
Value CameraGet(Value ZVK_CameraState::*field)
{
    const std::lock_guard data(CameraData());
    return g_camera.*field;
}

template <class Value>
void CameraSet(Value ZVK_CameraState::*field, Value value)
{
    const std::lock_guard data(CameraData());
    g_camera.*field = value;
}

// The two gates of the attribute calls; a call that doesn't pass gives ZVK_CAMERA_NOT_INITIALIZED.
// Without a camera (key MI is 0) neither opens.
bool CameraSimulated();
bool CameraInitialised();

// Makes a picture's header point to its pixels; an empty picture gives an empty header. Lock
// CameraPicture.
void PointHeaderAt(IplImage &header, const cv::Mat &picture);

// -- bring-up (camera.cpp) --

int ZVK_Camera_CheckCompile(void);
void ZVK_Camera_LogAndorError(SessionHandle SessionHandle, int error);
void ZVK_Camera_InitFonts(SessionHandle SessionHandle);

// -- images (camera_images.cpp) --

void ZVK_Camera_InitFrameBuffers(SessionHandle SessionHandle);
void ZVK_Camera_ReleaseFrameBuffers(SessionHandle SessionHandle);

// Exchanges the image set as ZVK_Camera_InitFrameBuffers does. 0, or ZVK_CAMERA_NO_MEMORY with no
// image left. Images whose size stays keep their pixels' place, and with it what clients hold.
int32_t RebuildImages();

// -- windows (camera_window.cpp) --

extern const char *const kCameraWindow;     // its title
extern const char *const kHistogramWindow;  // the same
int ZVK_Camera_InitWindow(SessionHandle SessionHandle);
void ZVK_Camera_MouseCallback(int event, int x, int y, int flags, void *param);
void ShowPicture(const char *title, const cv::Mat &picture);  // nothing when it is empty

// -- loops (camera_acquire.cpp, camera_display.cpp, camera_loops.cpp) --

int ZVK_Camera_AcquireLoop(void *functionData);
int ZVK_Camera_DisplayLoop(void *functionData);
bool AcquirePass();         // one turn of the loop; false: it is to end
bool DisplayPass();         // waits for a frame and shows it; false: the loop is to end
void StartLoops();          // on the pool. Lock CameraTurn
void EndAcquireLoop();      // asks that one to end, and waits. Lock CameraTurn
void EndLoops();            // asks both to end, and waits until they have. Lock CameraTurn
void EndLoopsBeforeExit();  // again once a picture has been made, which may have made more to end

#endif
