#pragma once
// The machine and its screen: how it is held, what kind it is, how large the screen is. Layout asks at the moment it needs it.

#include "VideoAnalysis/Platform/Geometry.h"

namespace videoanalysis::ui {

enum class DeviceOrientation { unknown, portrait, portraitUpsideDown, landscapeLeft, landscapeRight, faceUp, faceDown };

inline bool isLandscape(DeviceOrientation orientation) {
    return orientation == DeviceOrientation::landscapeLeft || orientation == DeviceOrientation::landscapeRight;
}

enum class InterfaceIdiom { phone, pad, desktop };

class Device {
public:
    virtual ~Device() = default;
    /// How the device is physically held; without a sensor, as the shape of the window implies.
    virtual DeviceOrientation orientation() const = 0;
    virtual InterfaceIdiom userInterfaceIdiom() const = 0;
    /// The major version of the system.
    virtual int systemVersion() const = 0;
};

class Screen {
public:
    virtual ~Screen() = default;
    virtual Size size() const = 0;
    /// Pixels per point.
    virtual double scale() const = 0;
};

}  // namespace videoanalysis::ui
