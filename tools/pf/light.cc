#include "light.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iterator>

#include "choices.h"
#include "engine.h"
#include "failure.h"

namespace pftool {
namespace {

struct StandardProfile {
  const char* name;
  XCE_ProfileCode code;
};
constexpr StandardProfile kStandardProfiles[] = {
    {"srgb", XCE_Profile_SRGB},
    {"linear-srgb", XCE_Profile_LINEAR_SRGB},
    {"oprgb", XCE_Profile_OPRGB},
    {"rec601-525", XCE_Profile_REC601_525},
    {"rec601-625", XCE_Profile_REC601_625},
    {"rec709", XCE_Profile_REC709},
    {"rec709-display", XCE_Profile_REC709_DISPLAY},
    {"rec2020", XCE_Profile_REC2020},
    {"linear-rec2020", XCE_Profile_LINEAR_REC2020},
    {"display-p3", XCE_Profile_DISPLAY_P3},
    {"linear-p3", XCE_Profile_LINEAR_P3},
    {"dci-p3", XCE_Profile_DCI_P3},
    {"romm", XCE_Profile_ROMM},
    {"linear-romm", XCE_Profile_LINEAR_ROMM},
    {"acescg", XCE_Profile_ACESCG},
    {"aces2065", XCE_Profile_ACES2065},
    {"grey-linear", XCE_Profile_GREY_LINEAR},
    {"grey-18", XCE_Profile_GREY_18},
    {"grey-22", XCE_Profile_GREY_22},
    {"grey-srgb", XCE_Profile_GREY_SRGB},
};

}  // namespace

Failure ProfileFailure(const std::string& where, U_Err status) {
  if (status == XCE_ERR_FILE) {
    return {ExitCode::kNoInput, "cannot read the profile", where, "the file cannot be read", "check the name"};
  }
  if (status == XCE_ERR_NOT_RGB) {
    return {ExitCode::kBadData, "cannot use the profile", where, "it is not for RGB or grey pictures",
            "give a profile of an RGB space"};
  }
  if (status == PF_Err_OUT_OF_MEMORY) {
    return {ExitCode::kOutOfMemory, "cannot read the profile", where, "there is not enough memory",
            "close other programs"};
  }
  return {ExitCode::kBadData, "cannot use the profile", where, "it is damaged or not an ICC profile",
          "give an undamaged .icc file"};
}

std::string ProfileNames() {
  std::string names;
  for (const StandardProfile& row : kStandardProfiles) names += (names.empty() ? "" : ", ") + std::string(row.name);
  return names;
}

bool IsProfileName(const std::string& name) {
  std::error_code error;
  const auto* const end = std::end(kStandardProfiles);
  return std::find_if(kStandardProfiles, end, [&](const auto& row) { return name == row.name; }) != end ||
         std::filesystem::exists(name, error);
}

Profile ReadProfile(const std::string& option, const std::string& name) {
  Profile profile;
  for (const StandardProfile& row : kStandardProfiles) {
    if (name != row.name) continue;
    if (const U_Err status = COR_GetStandardProfile(row.code, &profile)) throw ProfileFailure("'" + name + "'", status);
    return profile;
  }
  std::error_code error;
  if (!std::filesystem::exists(name, error)) {
    throw UsageFailure("cannot use " + option, "'" + name + "'", "there is neither a profile nor a file of that name",
                       "name an .icc file or one of " + ProfileNames());
  }
  if (const U_Err status = COR_NewProfileFromFile(name.c_str(), &profile))
    throw ProfileFailure("'" + name + "'", status);
  return profile;
}

std::string ProfileTitle(const Profile& profile) {
  COR_XCE_ProfileInfo info = {};
  if (COR_DescribeProfile(profile.get(), &info) != 0 || info.name[0] == 0) return "a profile without a name";
  return info.name;
}

void AddLightOptions(CLI::App& app, LightOptions* options) {
  app.add_option("--light", options->light, "Blend on the values as they are stored, or in linear light")
      ->check(OneOf({"stored", "linear"}))
      ->type_name("stored|linear")
      ->capture_default_str();
  app.add_option("--profile", options->profile,
                 "Colour space of the pictures, for linear light: an ICC file or a standard name; without it srgb")
      ->type_name("FILE|NAME");
}

Tables TablesFor(const LightOptions& options, Reporter* reporter) {
  if (options.light != "linear") {
    if (!options.profile.empty()) reporter->Note("--profile changes nothing here: it acts with --light linear");
    return {};
  }
  const Profile profile = ReadProfile("--profile", options.profile.empty() ? "srgb" : options.profile);
  reporter->Note("blending in the linear light of " + ProfileTitle(profile));
  Tables tables;
  Guarded("cannot use the profile", options.profile, [&] { tables = PF_MakeLinearizationTables(profile); });
  return tables;
}

}  // namespace pftool
