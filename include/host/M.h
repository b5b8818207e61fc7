/// \file
/// Host geometry (M), version 18: rectangles, points and the shared geometry state.
///
/// Rectangles are half open: right and bottom are exclusive. Nothing here throws; every function may be
/// called from any thread.
#ifndef HOST_M_H
#define HOST_M_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

/// A rectangle of 32-bit coordinates in pixels.
struct M_LRect {
  std::int32_t left, top, right, bottom;
};
static_assert(sizeof(M_LRect) == 16, "crosses the plug-in boundary");

/// A rectangle of 16-bit coordinates in pixels. Mind the order of the fields.
struct M_Rect {
  std::int16_t top, left, bottom, right;
};
static_assert(sizeof(M_Rect) == 8, "crosses the plug-in boundary");

/// A point or offset in pixels: h to the right, v downwards.
struct M_LPoint {
  std::int32_t h, v;
};

/// A pair of values, horizontal then vertical.
template <class T>
struct M_Vector2T {
  T h, v;
};

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err M_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
/// Prepares the geometry state for a library. Called once at start-up; matched by M_UnprepareFCMD.
/// \param count 1.
/// \param state receives an opaque value to hand back.
HOST_EXPORT U_Err M_PrepareFCMD(std::int32_t count, void** state);
/// Releases the state of M_PrepareFCMD.
HOST_EXPORT U_Err M_UnprepareFCMD(void* state);
/// Intersects two rectangles.
/// \param out receives the intersection, or four zeros when it is empty; may be one of the inputs.
/// \return 1 when the intersection holds at least one pixel, else 0.
HOST_EXPORT std::int32_t M_IntersectLRect(const M_LRect* first, const M_LRect* second, M_LRect* out);
/// Smallest rectangle that holds both; an empty rectangle adds nothing.
HOST_EXPORT void M_UnionLRect(const M_LRect* first, const M_LRect* second, M_LRect* out);
}

#endif
