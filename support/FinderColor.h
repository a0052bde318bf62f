#pragma once

namespace fw {

/// A calibrated colour; each value lies between 0 and 1.
struct FinderColor {
    double hue = 0;
    double saturation = 0;
    double brightness = 0;
    double alpha = 1;

    bool operator==(const FinderColor&) const = default;
};

} // namespace fw
