#pragma once
// A key press as a screen receives it. The platform passes those that no focused control handles to the topmost screen.

namespace videoanalysis::ui {

enum class Key { space, left, right, home, end, z, f, leftBracket, rightBracket, escape };

struct KeyPress {
    Key key = Key::space;
    bool isShiftDown = false;
    bool isControlDown = false;  ///< or its equivalent on the system

    friend bool operator==(const KeyPress&, const KeyPress&) = default;
};

}  // namespace videoanalysis::ui
