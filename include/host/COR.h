/// \file
/// Host colour engine (COR): profiles, pools of profiles and transforms between them.
///
/// Rules common to the whole file
/// - Nothing here throws. A result is a status: 0, 4 out of memory, XCE_ERR_ABSENT when the host has no colour
///   engine, or another XCE_ERR_* code. The library hands every status but 0 and XCE_ERR_ABSENT to XCE_Error.
///   After a failure outputs are untouched, except where said.
/// - A null profile stands for the default working profile, wherever a profile is read.
/// - Profiles never change and are shared; the last shared pointer releases them. Every function may be called
///   from any thread, for the same pool, profile or transform too; only disposing and releasing come after
///   everything else.
/// - A profile describes an RGB space. Profiles of other data (CMYK, Lab, device links, named colours) are refused
///   with XCE_ERR_NOT_RGB. A grey profile stands for the RGB space of the primaries of IEC 61966-2-1 with the grey
///   profile's curve on all three channels.
#ifndef HOST_COR_H
#define HOST_COR_H

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/Export.h"
#include "host/U.h"

struct COR_XCE_Profile;
struct COR_XCE_ProfilePool;
struct XCETransform;
/// A transform between two profiles, as a handle; null = none.
using COR_XCE_Transform = XCETransform*;
using COR_XCE_ProfileRef = boost::shared_ptr<COR_XCE_Profile>;

/// Names a profile within a pool. All zero is the null id, which names none.
struct _t_XCE_ID {
  std::uint8_t bytes[16];
};
static_assert(sizeof(_t_XCE_ID) == 16, "record layout");
inline bool operator==(const _t_XCE_ID& a, const _t_XCE_ID& b) noexcept { return std::memcmp(&a, &b, 16) == 0; }
inline bool operator!=(const _t_XCE_ID& a, const _t_XCE_ID& b) noexcept { return !(a == b); }

/// What a call may answer beside 0 and 4.
enum : U_Err {
  XCE_ERR_ABSENT = 0x67656E20,         ///< 'gen ': there is no colour engine
  XCE_ERR_BAD_PROFILE = 0x62707266,    ///< 'bprf': not a profile, or damaged, or contradictory
  XCE_ERR_NOT_RGB = 0x6E726762,        ///< 'nrgb': a sound profile of other data than RGB or grey
  XCE_ERR_UNKNOWN_CODE = 0x636F6465,   ///< 'code': no such standard profile
  XCE_ERR_BAD_PARAMETER = 0x70617261,  ///< 'para': null, or an unknown layout or intent
  XCE_ERR_NO_TRANSFORM = 0x78666F72,   ///< 'xfor': no transform can be made between the profiles
  XCE_ERR_FILE = 0x66696C65            ///< 'file': a file cannot be read
};

/// Four-character code of a standard profile. White is D65 where nothing is said.
using XCE_ProfileCode = std::uint32_t;
enum : XCE_ProfileCode {
  XCE_Profile_SRGB = 0x73524742,            ///< 'sRGB': IEC 61966-2-1
  XCE_Profile_LINEAR_SRGB = 0x6C524742,     ///< 'lRGB': its primaries, linear light
  XCE_Profile_OPRGB = 0x6F705247,           ///< 'opRG': opRGB, IEC 61966-2-5, gamma 563/256
  XCE_Profile_REC601_525 = 0x36303135,      ///< '6015': ITU-R BT.601, 525 lines, camera curve of BT.709
  XCE_Profile_REC601_625 = 0x36303136,      ///< '6016': ITU-R BT.601, 625 lines, the same curve
  XCE_Profile_REC709 = 0x72373039,          ///< 'r709': ITU-R BT.709, camera curve
  XCE_Profile_REC709_DISPLAY = 0x64373039,  ///< 'd709': BT.709 primaries, gamma 2.4 of ITU-R BT.1886
  XCE_Profile_REC2020 = 0x32303230,         ///< '2020': ITU-R BT.2020, camera curve
  XCE_Profile_LINEAR_REC2020 = 0x6C323032,  ///< 'l202': its primaries, linear light
  XCE_Profile_DISPLAY_P3 = 0x64697033,      ///< 'dip3': SMPTE EG 432-1 primaries, curve of IEC 61966-2-1
  XCE_Profile_LINEAR_P3 = 0x6C697033,       ///< 'lip3': the same primaries, linear light
  XCE_Profile_DCI_P3 = 0x64636933,          ///< 'dci3': SMPTE RP 431-2, white of cinema, gamma 2.6
  XCE_Profile_ROMM = 0x524F4D4D,            ///< 'ROMM': ROMM RGB, ISO 22028-2, white D50
  XCE_Profile_LINEAR_ROMM = 0x6C4F4D4D,     ///< 'lOMM': its primaries, linear light
  XCE_Profile_ACESCG = 0x61636367,          ///< 'accg': S-2014-004 (AP1), linear light, white near D60
  XCE_Profile_ACES2065 = 0x61636573,        ///< 'aces': SMPTE ST 2065-1 (AP0), linear light, white near D60
  XCE_Profile_GREY_LINEAR = 0x6772796C,     ///< 'gryl': grey, linear light
  XCE_Profile_GREY_18 = 0x67723138,         ///< 'gr18': grey, gamma 1.8
  XCE_Profile_GREY_22 = 0x67723232,         ///< 'gr22': grey, gamma 2.2
  XCE_Profile_GREY_SRGB = 0x67727372        ///< 'grsr': grey, curve of IEC 61966-2-1
};

/// Four-character code of a layout of pixels: four channels of one type, alpha, red, green, blue in memory.
using XCE_Layout = std::uint32_t;
enum : XCE_Layout {
  XCE_Layout_8 = 0x70726762,     ///< 'prgb': 8-bit, 0..255; its bytes in memory spell "bgrp"
  XCE_Layout_16 = 0x50524742,    ///< 'PRGB': 16-bit, 0..32768; input above counts as 32768
  XCE_Layout_FLOAT = 0x66524742  ///< 'fRGB': float; values outside 0..1 go as far as the profiles' curves reach
};

/// How colours that the destination cannot show are treated; the numbers of ICC.1.
enum XCE_Intent : std::int32_t {
  XCE_Intent_PERCEPTUAL = 0,
  XCE_Intent_RELATIVE_COLORIMETRIC = 1,
  XCE_Intent_SATURATION = 2,
  XCE_Intent_ABSOLUTE_COLORIMETRIC = 3
};

/// How to make a transform. Set it to zeros and fill in what is wanted.
struct COR_XCE_TransformOptions {
  XCE_Intent intent;
  /// Non-zero: black is mapped to black too (not with absolute colorimetric).
  std::int32_t black_point_compensation;
  /// Profiles to go through between source and destination, in this order, there and back, as a print proof
  /// does; null = none.
  const COR_XCE_Profile* proofs[2];
  /// Non-zero: float results are limited to 0..1. Integers always are limited to their range.
  std::int32_t clip_float;
};
static_assert(sizeof(COR_XCE_TransformOptions) == 32 && offsetof(COR_XCE_TransformOptions, proofs) == 8 &&
                  offsetof(COR_XCE_TransformOptions, clip_float) == 24,
              "record layout");

/// What can be told of a profile.
struct COR_XCE_ProfileInfo {
  /// Gamma of the red, green and blue curve, 1 for linear light. A pure power's is its exponent; of another curve
  /// it is the mean of log(y) / log(x); a profile of tables has three times that of its neutral axis.
  double gamma[3];
  std::int32_t has_tables;  ///< 0: three curves and a matrix; 1: multi-dimensional tables
  std::int32_t is_grey;     ///< 1: made from a grey profile
  char name[256];           ///< UTF-8, ends in zero, cut at a character's end; empty when there is none
};
static_assert(sizeof(COR_XCE_ProfileInfo) == 288 && offsetof(COR_XCE_ProfileInfo, name) == 32, "record layout");

extern "C" {

/// \name Profiles
/// @{

/// A standard profile. The same code gives the same content.
HOST_EXPORT U_Err COR_GetStandardProfile(XCE_ProfileCode code, COR_XCE_ProfileRef* out);
/// The profile that stands in where none is given.
HOST_EXPORT U_Err COR_GetDefaultWorkingProfile(COR_XCE_ProfileRef* out);
/// Profile of a display. \param display the host's own reference to it, not null.
HOST_EXPORT U_Err COR_GetDisplayProfile(const void* display, COR_XCE_ProfileRef* out);
/// Profile of the system's main display.
HOST_EXPORT U_Err COR_GetSystemDisplayProfile(COR_XCE_ProfileRef* out);
/// A profile from the `size` bytes of an ICC profile, which are copied. Whatever the bytes are, the answer is a
/// profile that can be used or a status.
HOST_EXPORT U_Err COR_NewProfileFromICC(const void* bytes, std::uint64_t size, COR_XCE_ProfileRef* out);
/// The same from a file. \param path UTF-8.
HOST_EXPORT U_Err COR_NewProfileFromFile(const char* path, COR_XCE_ProfileRef* out);
/// The profile as ICC bytes; what was loaded comes back byte for byte.
/// \param buffer receives the bytes when `capacity` is enough; may be null with a capacity of 0.
/// \param size receives the number of bytes in any case.
HOST_EXPORT U_Err COR_GetProfileICC(const COR_XCE_Profile* profile, void* buffer, std::uint64_t capacity,
                                    std::uint64_t* size);
/// The space of the same primaries in linear light. Of a profile of tables it is the space whose primaries have
/// the chromaticities of the profile's pure red, green and blue. Linear profiles give their equal.
HOST_EXPORT U_Err COR_LinearizeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileRef* out);
/// Describes a profile.
HOST_EXPORT U_Err COR_DescribeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileInfo* out);
/// @}

/// \name Pools
/// A pool keeps profiles and finds them by id.
/// @{

/// \param out receives an empty pool, to be given back with COR_DisposeProfilePool.
HOST_EXPORT U_Err COR_NewProfilePool(COR_XCE_ProfilePool** out);
/// Releases the pool and its references to profiles. Null is allowed.
HOST_EXPORT void COR_DisposeProfilePool(COR_XCE_ProfilePool* pool);
/// Files a profile. The id depends on the profile's content alone: an equal profile has the same id in every pool
/// and process, and the pool keeps the one that came first. \param id receives the id, never the null id.
HOST_EXPORT U_Err COR_RegisterProfile(COR_XCE_ProfilePool* pool, const COR_XCE_ProfileRef* profile, _t_XCE_ID* id);
/// \param out receives the profile filed under `id`, the same object at each call, or an empty pointer; not
///   finding any is no failure.
HOST_EXPORT U_Err COR_FindProfile(const COR_XCE_ProfilePool* pool, const _t_XCE_ID* id, COR_XCE_ProfileRef* out);
/// @}

/// \name Transforms
/// @{

/// Makes a transform. It needs the profiles no longer afterwards.
/// \param options null for relative colorimetric without anything else.
/// \param out receives the transform, to be given back with COR_ReleaseTransform.
HOST_EXPORT U_Err COR_NewTransform(const COR_XCE_Profile* source, const COR_XCE_Profile* destination,
                                   const COR_XCE_TransformOptions* options, COR_XCE_Transform* out);
/// Null is allowed.
HOST_EXPORT void COR_ReleaseTransform(COR_XCE_Transform transform);
/// Converts the colour of `count` pixels. Colour is straight: alpha is neither read nor applied, and what becomes
/// of the destination's alpha is the engine's (the embedded host's leaves it as it is).
/// \param source, destination `count` pixels each, aligned to their channels; the same address with the same
///   layout converts in place, other overlaps are not allowed. Unread for a count of 0.
/// \return after a failure the destination's colour is undefined.
HOST_EXPORT U_Err COR_ApplyTransform(COR_XCE_Transform transform, XCE_Layout source_layout, const void* source,
                                     XCE_Layout destination_layout, void* destination, std::uint64_t count);
/// @}

/// Tells the user that an engine call failed. \param status what the call answered, not 0.
/// \return the code to go on with: 3 when it has been reported, 4 for 4, XCE_ERR_ABSENT for itself.
HOST_EXPORT U_Err XCE_Error(U_Err status);
}

#endif
