/// \file
/// Pictures from one colour space to another.
#ifndef TOOLS_PF_PROFILE_CONVERSION_H
#define TOOLS_PF_PROFILE_CONVERSION_H

#include <memory>
#include <string>

#include "light.h"
#include "picture.h"

namespace pftool {

/// "--profile FROM:TO" and "--intent".
struct ProfileOptions {
  std::string profile;
  std::string intent = "relative";
  bool wanted() const { return !profile.empty(); }
};
void AddProfileOptions(CLI::App& app, ProfileOptions* options);
/// \throws Failure (64) for what does not name two profiles.
void CheckProfileOptions(const ProfileOptions& options);

/// The conversion of one picture.
class ProfileConversion {
 public:
  /// Reads both profiles, and gives the facts the new one and channels that it fits.
  /// \param depth of the result, for the notes
  /// \throws Failure 64 for a profile that cannot be used for the picture, 65 for what is no usable profile and for a
  ///   picture without one that FROM asks for, 66 for a file that cannot be read.
  ProfileConversion(const ProfileOptions& options, PictureFacts* facts, int depth, Reporter* reporter);
  /// Converts straight colours; alpha stays.
  void Apply(PF_World* world, Reporter* reporter) const;

 private:
  struct Release {
    void operator()(XCETransform* transform) const { COR_ReleaseTransform(transform); }
  };
  std::string where_;
  std::unique_ptr<XCETransform, Release> transform_;
};

}  // namespace pftool

#endif
