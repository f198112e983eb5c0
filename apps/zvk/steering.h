#ifndef QUORVEX_ZVK_STEERING_H
#define QUORVEX_ZVK_STEERING_H

// Live steering of a session that is up, by exported calls only: what the mouse and the keys decide
// is done here.

#include "gestures.h"

#include <string>

class Steering
{
public:
    void Begin();  // switches the overlay on
    void Mouse(const std::vector<MouseMessage> &messages);
    void Key(char key);  // a, b: where a click adds; d: delete the trap touched last

    bool WindowIsOpen() const;

private:
    Scene Look() const;
    void Do(const Decision &decision);
    void Add(const Decision &decision);
    void Move(const Decision &decision);
    void Remove(int32_t path, int32_t index);
    void Zoom(const Decision &decision);
    void Touch(int32_t path, int32_t index);
    void Say(const std::string &what);

    Gesture m_gesture;
    int32_t m_addPath = 0;
    bool m_touched = false;  // the two below name a trap
    int32_t m_path = 0;
    int32_t m_index = 0;
};

#endif
