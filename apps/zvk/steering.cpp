// Live steering of a session that is up.

#include "steering.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

constexpr SessionHandle kSession = 1;
constexpr int32_t kPaths = 2;
constexpr size_t kMessageBytes = 4096;
constexpr size_t kNameBytes = 257;       // of a trap's name, with its end
constexpr double kNewTrapSpeed = 200.0;  // pixels per second
constexpr double kReach = 14.0;          // pixels of the window; a trap's circle has 10

static int32_t CountTraps(int32_t path)
{
    int32_t count = 0;
    return ZVK_Trap_GetNumberOfTraps(kSession, path, &count) < 0 ? 0 : count;
}

static void AppendTraps(int32_t path, std::vector<TrapSpot> &traps)
{
    const auto count = static_cast<size_t>(CountTraps(path));
    std::vector<int32_t> indices(count);
    std::vector<double> x(count);
    std::vector<double> y(count);
    std::vector<char> texts(count * kNameBytes);
    std::vector<char *> names(count);
    for (size_t i = 0; i < count; ++i)
        names[i] = texts.data() + i * kNameBytes;
    if (count == 0 || ZVK_Trap_GetIndexList(kSession, path, indices.data()) < 0) return;
    if (ZVK_Trap_GetArray(kSession, path, x.data(), y.data(), nullptr, names.data(),
                          ZVK_UNIT_PIXEL) < 0)
        return;
    for (size_t i = 0; i < count; ++i)
        traps.push_back({path, indices[i], x[i], y[i], names[i]});
}

static View ReadView()
{
    int32_t x = 0;
    int32_t y = 0;
    View view;
    if (ZVK_Camera_GetZoom(kSession, &x, &y, &view.zoom) < 0) return {};
    view.x = x;
    view.y = y;
    return view;
}

struct WindowSize
{
    int32_t width = 0;
    int32_t height = 0;
};

static WindowSize ReadWindowSize()
{
    WindowSize size;
    (void)ZVK_Camera_GetDispImageSize(kSession, &size.width, &size.height);  // 0 without a camera
    return size;
}

static ShownFrame ReadShownFrame()
{
    ShownFrame shown;
    if (ZVK_Camera_GetROI(kSession, &shown.x, &shown.y, &shown.width, &shown.height) < 0) return {};
    return shown;
}

// In frame pixels, so that a trap is as easy to hit at any zoom.
static double Reach()
{
    const int32_t shown = ReadShownFrame().width;
    const int32_t window = ReadWindowSize().width;
    return shown > 0 && window > 0 ? kReach * shown / window : kReach;
}

// The first line of what a status means.
static std::string TextOf(int32_t status)
{
    char text[kMessageBytes] = "";
    (void)ZVK_error_message(kSession, status, text);  // writes a text for any number
    const std::string all = text;
    return all.substr(0, all.find('\n')) + " (" + std::to_string(status) + ")";
}

void Steering::Begin()
{
    for (int32_t path = 0; path < kPaths; ++path)
        m_made[path] = CountTraps(path);
    for (int32_t &line : m_lines)
        if (ZVK_ImageProc_AddLine(kSession, &line, 0, 0, 0, 0, "", 1, 0) < 0) line = 0;
    ShowStatus();
    (void)ZVK_Camera_SetUserOverlay(kSession, 1);
    (void)ZVK_Camera_SetSDKOverlay(kSession, 1);
    (void)ZVK_Camera_SetTrapMarkers(kSession, 1);
    (void)ZVK_Camera_SetFrameRate(kSession, 1);
    for (int32_t path = 0; path < kPaths; ++path)
        (void)ZVK_Camera_SetCalField(kSession, path, 1);
}

// A line's number of -1 leaves its old one; the neighbour is as good.
static int32_t Said(int32_t number) { return number == -1 ? -2 : number; }

void Steering::ShowStatus()
{
    const Scene scene = Look();
    const StatusFacts facts = {scene.traps, ReadView().zoom, m_addPath, m_touched,
                               m_path,      m_index,         m_news};
    const std::string texts[2] = {StatusText(facts), SecondText(facts)};
    const ShownFrame shown = ReadShownFrame();
    if (std::ranges::equal(texts, m_shownTexts) && shown == m_shownFrame) return;
    const WindowSize window = ReadWindowSize();
    for (int row = 0; row < 2; ++row) {
        const FramePoint at = StatusPoint(shown, window.width, window.height, row);
        const int32_t x = Said(at.x);
        const int32_t y = Said(at.y);
        // A row without a line of its own is left out.
        (void)ZVK_ImageProc_UpdateLine(kSession, m_lines[row], x, x, y, y, texts[row].c_str(), 1,
                                       -1);
    }
    if (ZVK_ImageProc_UpdateOverlay(kSession) < 0) return;
    std::ranges::copy(texts, m_shownTexts);
    m_shownFrame = shown;
}

bool Steering::WindowIsOpen() const
{
    void *window = nullptr;
    return ZVK_Camera_GetWinHandle(kSession, &window) >= 0 && window != nullptr;
}

Scene Steering::Look() const
{
    Scene scene;
    for (int32_t path = 0; path < kPaths; ++path)
        AppendTraps(path, scene.traps);
    scene.reach = Reach();
    scene.addPath = m_addPath;
    return scene;
}

void Steering::Say(const std::string &what, const std::string &briefly)
{
    m_news = briefly;
    std::puts(what.c_str());
    std::fflush(stdout);
}

void Steering::Touch(int32_t path, int32_t index)
{
    m_touched = true;
    m_path = path;
    m_index = index;
}

std::string Steering::NameOf(int32_t path, int32_t index) const
{
    for (const TrapSpot &trap : Look().traps)
        if (trap.path == path && trap.index == index) return trap.name;
    return "trap";
}

void Steering::Add(const Decision &decision)
{
    const int32_t path = decision.path;
    const int32_t before = CountTraps(path);
    const std::string name =
        std::string(path == 0 ? "A_" : "B_") + std::to_string(m_made[path] + 1);
    int32_t index = 0;
    const int32_t status = ZVK_Trap_Add(kSession, path, &index, kNewTrapSpeed, name.c_str(),
                                        decision.x, decision.y, ZVK_UNIT_PIXEL);
    if (status < 0 || CountTraps(path) == before) {
        Say("no trap added: " + TextOf(status));
        return;
    }
    ++m_made[path];
    Touch(path, index);
    Say(name + " added at " + PlaceOf(decision.x, decision.y), name + " added");
}

void Steering::AddWaiting()
{
    std::vector<Decision> stillWaiting;
    for (const Decision &decision : m_waiting) {
        const auto second = static_cast<int32_t>(std::abs(std::time(nullptr)));
        if (MayAdd(Look().traps, decision.path, second))
            Add(decision);
        else
            stillWaiting.push_back(decision);
    }
    m_waiting.swap(stillWaiting);
}

void Steering::Move(const Decision &decision)
{
    double x = decision.x;
    double y = decision.y;
    Touch(decision.path, decision.index);
    m_news.clear();  // it told of a time before this drag
    if (ZVK_Trap_SetPosition(kSession, decision.path, decision.index, &x, &y, ZVK_UNIT_PIXEL, 1) <
        0)
        return;
    // At once: the pointer's steps are the speed.
    (void)ZVK_Trap_GotoSetPosition(kSession, decision.path, decision.index);
}

// A path without a trap can't get one back while the session runs, so that the last one stays.
void Steering::Remove(int32_t path, int32_t index)
{
    if (CountTraps(path) <= 1) {
        Say(NameOf(path, index) + " stays: it is the last trap of its path");
        return;
    }
    const std::string name = NameOf(path, index);
    if (ZVK_Trap_Delete(kSession, path, index) < 0) return;
    m_touched = m_touched && !(path == m_path && index == m_index);
    Say(name + " deleted");
}

void Steering::Zoom(const Decision &decision)
{
    const View view = ZoomedAbout(ReadView(), decision.x, decision.y, decision.factor);
    (void)ZVK_Camera_SetZoom(kSession, static_cast<int32_t>(std::lround(view.x)),
                             static_cast<int32_t>(std::lround(view.y)), view.zoom);
}

void Steering::Do(const Decision &decision)
{
    switch (decision.deed) {
    case Deed::nothing: break;
    case Deed::take: Touch(decision.path, decision.index); break;
    case Deed::add: m_waiting.push_back(decision); break;
    case Deed::move: Move(decision); break;
    case Deed::remove: Remove(decision.path, decision.index); break;
    case Deed::zoom: Zoom(decision); break;
    }
}

void Steering::Mouse(const std::vector<MouseMessage> &messages)
{
    for (const MouseMessage &message : WithoutPassedMoves(messages)) {
        Do(m_gesture.Step(message, Look()));
        AddWaiting();
    }
}

void Steering::Key(char key)
{
    if (key == 'a' || key == 'b') {
        m_addPath = key == 'b' ? 1 : 0;
        Say(std::string("clicks add to path ") + (key == 'b' ? "B" : "A"));
    }
    if (key == 'd' && m_touched) Remove(m_path, m_index);
}
