/// \file
/// Colour settings of a render, tables for blending in linear light, and colour conversion through the host's
/// colour engine.
///
/// Rules common to the family
/// - A profile is a shared pointer of the host's colour engine (host/COR.h). An empty one stands for the engine's
///   default working profile, except where said.
/// - Failures of the engine are told to the user by its own report (XCE_Error) and become the code that it answers
///   with, 3 as a rule. Without a colour engine the code is 0x67656E20 ('gen ') and nothing is reported.
/// - Members of PF_ColorSettings, and the functions that hand back an object instead of a code, throw PF_Error with
///   these codes. The others return them.
/// - The caches of a PF_ColorSettings are filled on first use and without a lock: one object is used by one thread
///   at a time until its caches are filled. Tables, once obtained, may be read by many threads. The free functions
///   may be called from any thread.
#ifndef PF_COLOR_SETTINGS_H
#define PF_COLOR_SETTINGS_H

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/COR.h"
#include "host/vexcore.h"

/// Tables between stored values and linear light. Values run over 0..32768 and both tables are limited to it.
/// Immutable once built.
struct PF_LinearBlendingTables {
  std::uint16_t toLinear8[256];      ///< linear light of each 8-bit code
  std::uint16_t fromLinear16[4097];  ///< stored value of linear light 8 m, m = 0..4096; non-decreasing
  float gamma;                       ///< the profile's green gamma: stored to linear is v^gamma
  float inverseGamma;                ///< 1 / gamma
};
static_assert(offsetof(PF_LinearBlendingTables, toLinear8) == 0, "record layout");
static_assert(offsetof(PF_LinearBlendingTables, fromLinear16) == 512, "record layout");
static_assert(offsetof(PF_LinearBlendingTables, gamma) == 8708, "record layout");
static_assert(offsetof(PF_LinearBlendingTables, inverseGamma) == 8712, "record layout");
static_assert(sizeof(PF_LinearBlendingTables) == 8716, "record layout");

class PF_ColorSettings;
extern "C" {
/// The step that copying shares: pool, profile id, both flags and validity go over, the caches of `to` become
/// empty. A source without a pool gives a cleared object.
PF_EXPORT void PFp_TransferColorSettings(const PF_ColorSettings* from, PF_ColorSettings* to);
}

/// The colour choices of one render: the working space, whether it is linearised, and whether blending happens in
/// linear light. What follows from them is made when it is asked for, and kept.
class PF_EXPORT PF_ColorSettings {
 public:
  /// No profile, both flags off. \param pool where profiles are looked up; not owned, may be null, and must outlive
  ///   the object.
  explicit PF_ColorSettings(COR_XCE_ProfilePool* pool = nullptr);
  PF_ColorSettings(const PF_ColorSettings& other);
  PF_ColorSettings& operator=(const PF_ColorSettings& other);
  ~PF_ColorSettings();

  /// \name Plain state
  /// Setting a flag or the pool does not clear the caches.
  /// @{
  void SetProfilePool(COR_XCE_ProfilePool* pool) { profilePool = pool; }
  COR_XCE_ProfilePool* GetProfilePool() const { return profilePool; }
  void SetLinearize(bool on) { linearize = on; }
  bool GetLinearize() const { return linearize; }
  void SetLinearBlending(bool on) { linearBlending = on; }
  bool GetLinearBlending() const { return linearBlending; }
  /// Whether a profile id other than the null id has been set.
  bool IsValid() const { return valid; }
  const _t_XCE_ID& GetProfileID() const { return profileId; }
  /// @}

  /// Chooses the working space by id. Clears both flags and the caches; the null id leaves the settings invalid.
  void SetProfileID(const _t_XCE_ID& id);
  /// Registers a profile with the pool and chooses it. Throws 3, reported, without a pool.
  void SetProfile(boost::shared_ptr<COR_XCE_Profile> profile);
  /// Empties the caches. \param id the working space whose values are no longer good.
  void InvalidateCachedValues(_t_XCE_ID id);

  /// The pool's profile, or an empty pointer when there is no pool or no such profile.
  boost::shared_ptr<COR_XCE_Profile> GetProfile() const;
  /// The profile that renders use: GetProfile(), or with `linearize` its linearised form, made once.
  boost::shared_ptr<COR_XCE_Profile> GetAdjustedProfile();
  /// Tables for blending in linear light, made once.
  /// \param force false: an empty pointer unless `linearBlending` is on and `linearize` off, whether tables have
  ///   been made or not; true: tables in any case.
  boost::shared_ptr<PF_LinearBlendingTables> GetLinearBlendingTables(bool force);
  /// Green gamma of the adjusted profile; computed once.
  float GetCalGrayGamma();

  /// Equal flags, one pool, and the pool gives the same profile object for both ids. The argument comes by value,
  /// so a copy without a pool compares as a cleared object.
  bool operator==(PF_ColorSettings other) const;
  bool operator!=(PF_ColorSettings other) const { return !(*this == other); }
  /// An order for sorting within one run: by the pools' addresses, then by the profiles' addresses, then
  /// `linearize` off before on, then `linearBlending` off before on.
  /// \return -1, 0 or 1.
  std::int32_t GetSortOrder(const PF_ColorSettings& other) const;
  /// Identity of what a render with these settings looks like: a vexcore::MixHash seeded with the 16 characters
  /// "PF_ColorSettings", then 16 bytes of profile id, one byte of `linearBlending`, one byte of `linearize`. With
  /// the debug trace "MixHashGuid" at level 6 every step is traced.
  vexcore::Guid GetRenderGuid() const;

 private:
#if defined(PF_BUILDING)  // a friend would lose its import
  friend void PFp_TransferColorSettings(const PF_ColorSettings* from, PF_ColorSettings* to);
#endif

  float cachedGamma = 0;  // 0: not yet computed
  _t_XCE_ID profileId = {};
  boost::shared_ptr<COR_XCE_Profile> adjustedProfile;
  bool linearize = false;
  bool linearBlending = false;
  boost::shared_ptr<PF_LinearBlendingTables> blendingTables;
  COR_XCE_ProfilePool* profilePool = nullptr;
  bool valid = false;
};
static_assert(sizeof(PF_ColorSettings) == 80, "record layout");

/// \name Settings, tables and transforms
/// These throw PF_Error. Transforms are released with COR_ReleaseTransform by who asked for them.
/// @{

/// Settings for when there are none: a pool of their own, the engine's default working profile, `linearize` on.
/// Made on the first call that succeeds and kept until PF_Death, with its caches filled; first calls from several
/// threads at once are allowed. Callers do not change it.
PF_EXPORT PF_ColorSettings* PF_GetEmergencyColorSettings();

/// Builds the tables of a profile.
///
/// `toLinear8` is the red channel of a ramp of 256 opaque 16-bit greys, (k * 8421504 + 33200) >> 16, after the
/// linearising transform, in one engine call. Samples of 16-bit values between them are interpolated linearly at
/// every eighth value and made non-decreasing; `fromLinear16` is the inverse of that, interpolated and rounded to
/// nearest. So a linear profile gives `fromLinear16[m]` = 8 m, except for m = 4080, where 255 linear steps of the
/// ramp leave one value between: 32639. Engine results above 32768 count as 32768.
/// Throws XCE_Error's answer also for a gamma that is not finite or not above 0.
PF_EXPORT boost::shared_ptr<PF_LinearBlendingTables> PF_MakeLinearizationTables(
    const boost::shared_ptr<COR_XCE_Profile>& profile);

/// The transform between a profile and its linearised form, relative colorimetric.
/// \param linear the linearised form when it is at hand; empty = made here.
/// \param to_linear true: from the profile to linear light; false: back.
PF_EXPORT COR_XCE_Transform PF_GetLinearizeTransform(const boost::shared_ptr<COR_XCE_Profile>& profile,
                                                     const boost::shared_ptr<COR_XCE_Profile>& linear, bool to_linear);

/// The profile of a display; null: of the system's main display.
PF_EXPORT boost::shared_ptr<COR_XCE_Profile> PF_GetPlatformDisplayProfile(const void* display);

/// The transform from a working space to a display, relative colorimetric.
/// \param working the working space. \param display the display's profile.
/// \param first_proof, second_proof what the picture shall look like as if shown there first, one after the other;
///   empty = none.
/// \param linearized the working space's values are in linear light: its linearised form is the source.
/// \param theater_preview true: float results may leave 0..1 for a display that can show more. false: the
///   preference "Clip over range in Display Transform when not Theater Preview" in the section "Display Transform
///   Section" (off when not set) limits them to 0..1.
PF_EXPORT COR_XCE_Transform PF_NewDisplayTransform(const boost::shared_ptr<COR_XCE_Profile>& working,
                                                   const boost::shared_ptr<COR_XCE_Profile>& display,
                                                   const boost::shared_ptr<COR_XCE_Profile>& first_proof,
                                                   const boost::shared_ptr<COR_XCE_Profile>& second_proof,
                                                   bool linearized, bool theater_preview);

/// A name to show for a working space: the localised "Working Space -", a space, and the profile's name; for no
/// profile the localised "None" stands for the name. Without settings: that of the engine's default working profile.
PF_EXPORT std::wstring PF_GetWorkingSpaceProfileName();
PF_EXPORT std::wstring PF_GetWorkingSpaceProfileName(const PF_ColorSettings& settings);
/// @}

extern "C" {

/// \name Conversion of worlds
/// @{

/// Converts the colour of every pixel. Colour is straight; premultiplied pictures are unmultiplied before.
///
/// Depths may differ. In place is allowed; other overlaps of the two worlds are not. When alpha is not preserved
/// and neither world has a gap between its rows, the engine is called once for the whole picture and `progress` is
/// not asked; else once for each row, and `progress` is polled after rows 63, 127 ...
/// \param preserve_alpha true: alpha comes from the source. false: it is left to the engine; the embedded host's
///   leaves the destination's alpha as it is.
/// \return 0; 516, reported, for null or worlds of unequal sizes; 3, reported, for unequal depths when alpha is to be
///   preserved; 4; the engine's code; the code of `progress`. Rows above the failing one have been converted.
PF_EXPORT PF_Err PF_XCEApplyTransform(XCETransform* transform, const PF_World* source, PF_World* destination,
                                      bool preserve_alpha, const PF_ProgressInfo* progress);

/// Converts between two of the engine's standard profiles, relative colorimetric; otherwise as
/// PF_XCEApplyTransform. An unknown code is an engine failure.
PF_EXPORT PF_Err PF_ConvertProfileToProfile(XCE_ProfileCode from, XCE_ProfileCode to, const PF_World* source,
                                            PF_World* destination, bool preserve_alpha,
                                            const PF_ProgressInfo* progress);

/// Converts a world into another world's depth by the rules of PF_World::CopyRectPossiblyDifferentBitdepth, without
/// dither; what lies outside either is left alone.
/// \param tables those of the settings in force, or null; values do not depend on it.
/// \return 0; 516, reported, for null worlds and worlds without pixels; 3, reported, for an unknown depth.
PF_EXPORT PF_Err PF_DepthConvertWorld(const PF_LinearBlendingTables* tables, const PF_World* source,
                                      PF_World* destination);
/// @}

/// The gammas of a profile's three channels, by the engine's description.
/// \param profile null: the engine's default working profile. \param red, green, blue null = not wanted; untouched
///   after a failure.
/// \return 0, or the engine's code, also when one of the three is not finite or not above 0.
PF_EXPORT PF_Err PF_GetCalRGBGammas(const COR_XCE_Profile* profile, float* red, float* green, float* blue);
}

#endif
