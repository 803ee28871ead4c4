#pragma once
// A key of a keyboard as a screen hears of it. The platform tells the topmost screen of those that no focused control takes.

namespace videoanalysis::ui {

enum class Key { space, left, right, home, end, z, f, leftBracket, rightBracket, escape };

struct KeyPress {
    Key key = Key::space;
    bool isShiftDown = false;
    bool isControlDown = false;  ///< or its equivalent on the system

    friend bool operator==(const KeyPress&, const KeyPress&) = default;
};

}  // namespace videoanalysis::ui
