#ifndef QUORVEX_ZVK_GESTURES_H
#define QUORVEX_ZVK_GESTURES_H

// What the mouse means in live steering: numbers in, decisions out. It touches no session.

#include <cstdint>
#include <string>
#include <vector>

// One mouse event of the camera window, as its message carries it. Positions are frame pixels.
struct MouseMessage
{
    int32_t event = 0;  // 0 move, 1 2 left and right down, 4 5 up, 10 wheel
    int32_t flags = 0;  // 1 left, 2 right button, 16 shift; the wheel's amount in the upper 16 bits
    int32_t x = 0;
    int32_t y = 0;
};

MouseMessage UnpackMouseMessage(int64_t first, int64_t second);

// A move that is followed by another one with the same buttons says nothing more.
std::vector<MouseMessage> WithoutPassedMoves(const std::vector<MouseMessage> &messages);

struct TrapSpot
{
    int32_t path = 0;
    int32_t index = 0;
    double x = 0.0;
    double y = 0.0;
    std::string name{};
};

// A new trap's index is the second of its making, and a path's traps are told apart by it alone: a
// second trap has to wait for the next one.
bool MayAdd(const std::vector<TrapSpot> &traps, int32_t path, int32_t second);

// The trap nearest to a point and not farther from it than the reach; null: none. Of two at the
// same distance the first.
const TrapSpot *TrapAt(const std::vector<TrapSpot> &traps, double x, double y, double reach);

enum class Deed
{
    nothing,
    take,  // a trap is picked, and not moved yet
    add,
    move,
    remove,
    zoom
};

struct Decision
{
    Deed deed = Deed::nothing;
    int32_t path = 0;
    int32_t index = 0;  // take, move, remove
    double x = 0.0;     // add, move, zoom: where
    double y = 0.0;
    double factor = 1.0;  // zoom: by how much the picture grows
};

// What a gesture needs to know of its surroundings.
struct Scene
{
    std::vector<TrapSpot> traps;
    double reach = 10.0;  // of a trap, and of a click that trembles, in frame pixels
    int32_t addPath = 0;  // where a click adds
};

class Gesture
{
public:
    Decision Step(const MouseMessage &message, const Scene &scene);

private:
    enum class Holding
    {
        nothing,
        trap,
        emptySpace
    };

    Decision Press(const MouseMessage &message, const Scene &scene);
    Decision Drag(const MouseMessage &message);
    Decision Release(const MouseMessage &message, const Scene &scene);

    Holding m_holding = Holding::nothing;
    TrapSpot m_trap;       // the one held; its place counts from the pointer
    MouseMessage m_press;  // where empty space was pressed
};

struct View
{
    double x = 0.0;  // centre, in frame pixels
    double y = 0.0;
    double zoom = 1.0;
};

// The view after a zoom that leaves the point where it is on the screen; 1 to 16 times.
View ZoomedAbout(const View &view, double x, double y, double factor);

#endif
