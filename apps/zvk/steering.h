#ifndef QUORVEX_ZVK_STEERING_H
#define QUORVEX_ZVK_STEERING_H

// Live steering of a session that is up, by exported calls only: what the mouse and the keys decide
// is done here.

#include "status_line.h"

#include <string>

class Steering
{
public:
    void Begin();       // switches the overlay on
    void ShowStatus();  // draws the rows over the picture, if they have changed
    void Mouse(const std::vector<MouseMessage> &messages);
    void AddWaiting();   // clicks that had to wait for their second
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
    std::string NameOf(int32_t path, int32_t index) const;
    // In the terminal, and with fewer words over the picture.
    void Say(const std::string &what, const std::string &briefly);
    void Say(const std::string &what) { Say(what, what); }

    Gesture m_gesture;
    int32_t m_addPath = 0;
    bool m_touched = false;  // the two below name a trap
    int32_t m_path = 0;
    int32_t m_index = 0;
    std::vector<Decision> m_waiting;  // to be added
    int32_t m_made[2] = {0, 0};       // traps of each path so far, for the next one's name
    std::string m_news;               // what happened last
    int32_t m_lines[2] = {0, 0};      // the overlay lines that carry the rows; 0: none
    std::string m_shownTexts[2];      // what they say now
    ShownFrame m_shownFrame;          // and for which part of the frame they were placed
};

#endif
