// What the two readers of the remote calibration store give for a channel,
// through the library's own C++ wrappers, each compared as one value: a
// failed read is no value, so it never matches an expected one.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>

#include "viewgeo.hpp"

namespace viewgeo::cpp {

inline void PrintTo(const RemoteCalibration &c, std::ostream *out) {
    *out << "{status " << c.status << ", auto " << c.auto_calibrated << "}";
}

}  // namespace viewgeo::cpp

namespace viewgeo::testing {

using RemoteFlags = cpp::RemoteCalibration;

// The flags viewgeo_get_remote_calibrated() reads.
inline std::optional<RemoteFlags> remote_flags(int channel) { return cpp::remote_calibration(channel); }

// The centre viewgeo_get_remote_center() reads into a fresh context, as its
// pan and tilt words (Q16.16).
struct RemoteCentre {
    std::int32_t pan;
    std::int32_t tilt;
    bool operator==(const RemoteCentre &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const RemoteCentre &c) {
    return out << "{pan " << c.pan << ", tilt " << c.tilt << "}";
}

inline std::optional<RemoteCentre> remote_centre(int channel) {
    const std::optional<cpp::PanTiltQ16> centre = cpp::remote_center(channel);
    if (!centre) return std::nullopt;
    return RemoteCentre{centre->pan.raw(), centre->tilt.raw()};
}

}  // namespace viewgeo::testing
