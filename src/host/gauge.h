#pragma once
// The progress gauge: a dark blue bar with the percentage centred on it, drawn on the surface
// the main window hands over at start.

#include <cstdint>
#include <functional>
#include <optional>

#include "host/desktop_port.h"

namespace pendara {

inline constexpr std::uint32_t kGaugeBarColour = 0x800000;   // dark blue
inline constexpr std::uint32_t kGaugeTextOnBar = 0x00FFFF;   // yellow
inline constexpr std::uint32_t kGaugeTextColour = 0x000000;  // black

class Gauge {
  public:
    void SetSurface(GaugeSurface* surface) { surface_ = surface; }
    GaugeSurface* surface() const { return surface_; }

    // -1 starts, 0 clears, any other value with a maximum draws value/maximum as a percentage;
    // any other value without a maximum does nothing.
    void Update(std::int32_t value, std::optional<std::int32_t> maximum = std::nullopt);

    // The percentage drawn for value/maximum (halves to even, at most 100).
    static int Percent(std::int32_t value, std::int32_t maximum);

  private:
    GaugeSurface* surface_ = nullptr;
};

// How a long operation reports its progress, as the gauge takes it: (-1, 0) starts, (value,
// maximum) shows value/maximum, (0, 0) clears.
using Progress = std::function<void(std::int32_t value, std::int32_t maximum)>;

// A progress drawn on the gauge, redrawn only when the percentage it shows changes.
Progress GaugeProgress(Gauge& gauge);

}  // namespace pendara
