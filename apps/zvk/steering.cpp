// Live steering of a session that is up.

#include "steering.h"

#include "status_line.h"

#include "quorvex/quorvex.h"

#include <cmath>
#include <cstdio>

constexpr SessionHandle kSession = 1;
constexpr int32_t kPaths = 2;
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
    if (count == 0 || ZVK_Trap_GetIndexList(kSession, path, indices.data()) < 0) return;
    if (ZVK_Trap_GetArray(kSession, path, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_PIXEL) < 0)
        return;
    for (size_t i = 0; i < count; ++i)
        traps.push_back({path, indices[i], x[i], y[i]});
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

void Steering::Begin()
{
    (void)ZVK_Camera_SetSDKOverlay(kSession, 1);
    (void)ZVK_Camera_SetTrapMarkers(kSession, 1);
    (void)ZVK_Camera_SetFrameRate(kSession, 1);
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
    scene.reach = kReach / ReadView().zoom;
    scene.addPath = m_addPath;
    return scene;
}

void Steering::Say(const std::string &what)
{
    std::puts(what.c_str());
    std::fflush(stdout);
}

void Steering::Touch(int32_t path, int32_t index)
{
    m_touched = true;
    m_path = path;
    m_index = index;
}

void Steering::Add(const Decision &decision)
{
    const int32_t before = CountTraps(decision.path);
    int32_t index = 0;
    const int32_t status = ZVK_Trap_Add(kSession, decision.path, &index, kNewTrapSpeed, "",
                                        decision.x, decision.y, ZVK_UNIT_PIXEL);
    if (status < 0 || CountTraps(decision.path) == before) {
        Say("no trap added, status " + std::to_string(status));
        return;
    }
    const std::string name = NameOf(decision.path, index);
    (void)ZVK_Trap_SetName(kSession, decision.path, index, name.c_str());
    Touch(decision.path, index);
    Say(name + " added at " + PlaceOf(decision.x, decision.y));
}

void Steering::Move(const Decision &decision)
{
    double x = decision.x;
    double y = decision.y;
    Touch(decision.path, decision.index);
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
    if (ZVK_Trap_Delete(kSession, path, index) < 0) return;
    m_touched = m_touched && !(path == m_path && index == m_index);
    Say(NameOf(path, index) + " deleted");
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
    case Deed::add: Add(decision); break;
    case Deed::move: Move(decision); break;
    case Deed::remove: Remove(decision.path, decision.index); break;
    case Deed::zoom: Zoom(decision); break;
    }
}

void Steering::Mouse(const std::vector<MouseMessage> &messages)
{
    for (const MouseMessage &message : WithoutPassedMoves(messages))
        Do(m_gesture.Step(message, Look()));
}

void Steering::Key(char key)
{
    if (key == 'a' || key == 'b') {
        m_addPath = key == 'b' ? 1 : 0;
        Say(std::string("clicks add to path ") + (key == 'b' ? "B" : "A"));
    }
    if (key == 'd' && m_touched) Remove(m_path, m_index);
}
