/// \file
/// Colour profiles and linear light on the command line.
#ifndef TOOLS_PF_LIGHT_H
#define TOOLS_PF_LIGHT_H

#include <boost/shared_ptr.hpp>
#include <string>

#include "PF/PF_ColorSettings.h"
#include "verb.h"

namespace pftool {

using Profile = boost::shared_ptr<COR_XCE_Profile>;

/// A standard profile by name, or the profile in an ICC file. \throws Failure 64 for a name that is neither, 66 for a
/// file that cannot be read, 65 for one that is no usable profile.
Profile ReadProfile(const std::string& option, const std::string& name);
/// Whether it is a standard name or the name of a file.
bool IsProfileName(const std::string& name);
/// What a status of the colour engine means for a profile. \param where the profile, quoted
Failure ProfileFailure(const std::string& where, U_Err status);
/// The names of the standard profiles, separated by commas.
std::string ProfileNames();
/// What to call a profile in messages.
std::string ProfileTitle(const Profile& profile);

/// "--light" and "--profile".
struct LightOptions {
  std::string light = "stored";
  std::string profile;
};
void AddLightOptions(CLI::App& app, LightOptions* options);

using Tables = boost::shared_ptr<PF_LinearBlendingTables>;
/// Tables for linear light, or null for stored values. Notes which space was taken. \throws as ReadProfile.
Tables TablesFor(const LightOptions& options, Reporter* reporter);

}  // namespace pftool

#endif
