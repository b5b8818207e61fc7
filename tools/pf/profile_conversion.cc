#include "profile_conversion.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <vector>

#include "choices.h"
#include "engine.h"

namespace pftool {
namespace {

constexpr const char* kOfFile = "file";

constexpr std::array<const char*, 4> kIntents = {"perceptual", "relative", "saturation", "absolute"};

struct Ends {
  std::string from, to;
};

// File names may have colons too: then the one counts that has profiles on both sides.
Ends Split(const std::string& text) {
  for (std::size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1)) {
    const Ends ends = {text.substr(0, colon), text.substr(colon + 1)};
    const bool only = text.find(':') == text.rfind(':');
    const bool known = (ends.from == kOfFile || IsProfileName(ends.from)) && IsProfileName(ends.to);
    if ((only || known) && !ends.from.empty() && !ends.to.empty()) return ends;
  }
  throw UsageFailure("cannot use --profile", "'" + text + "'", "it does not name two profiles",
                     "write it like srgb:display-p3, file:srgb or scan.icc:srgb");
}

Profile EmbeddedProfile(const PictureFacts& facts) {
  const OIIO::ParamValue* bytes = facts.spec.find_attribute("ICCProfile");
  const std::string where = QuotedInput(facts.name);
  if (bytes == nullptr || bytes->type().size() == 0) {
    throw Failure(ExitCode::kBadData, "cannot convert", where, "the file holds no profile",
                  "say which space it is in, like --profile srgb:TO");
  }
  Profile profile;
  if (const U_Err status = COR_NewProfileFromICC(bytes->data(), bytes->type().size(), &profile)) {
    throw ProfileFailure("of " + where, status);
  }
  return profile;
}

std::vector<std::uint8_t> BytesOf(const Profile& profile, const std::string& name) {
  std::uint64_t size = 0;
  if (const U_Err status = COR_GetProfileICC(profile.get(), nullptr, 0, &size); status != 0 && size == 0) {
    throw ProfileFailure("'" + name + "'", status);
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (const U_Err status = COR_GetProfileICC(profile.get(), bytes.data(), size, &size)) {
    throw ProfileFailure("'" + name + "'", status);
  }
  return bytes;
}

COR_XCE_ProfileInfo InfoOf(const Profile& profile) {
  COR_XCE_ProfileInfo info = {};
  COR_DescribeProfile(profile.get(), &info);
  return info;
}

// Grey files hold grey profiles and others hold others.
void FitChannels(bool grey_profile, const std::string& name, PictureFacts* facts, Reporter* reporter) {
  const bool grey_picture = facts->channels < 3;
  if (grey_profile && !grey_picture) {
    throw UsageFailure("cannot use --profile", "'" + name + "'",
                       fmt::format("it is for grey pictures and {} has colours", QuotedInput(facts->name)),
                       "name a profile for RGB pictures");
  }
  if (grey_profile || !grey_picture) return;
  facts->channels += 2;
  reporter->Note(QuotedInput(facts->name) + " is grey and becomes RGB, as the profile is");
}

// What the file says about its colours from now on.
void Describe(const Profile& profile, const std::string& name, PictureFacts* facts) {
  OIIO::ImageSpec& spec = facts->spec;
  spec.erase_attribute("(oiio:ColorSpace|oiio:Gamma|Exif:ColorSpace|chromaticities|ICCProfile)");
  const COR_XCE_ProfileInfo info = InfoOf(profile);
  const bool linear = std::all_of(std::begin(info.gamma), std::end(info.gamma), [](double g) { return g == 1; });
  facts->encoding = name == "srgb" ? "sRGB" : linear ? "Linear" : ProfileTitle(profile);
  if (name == "srgb" || name == "linear-srgb") spec.attribute("oiio:ColorSpace", facts->encoding);
  const std::vector<std::uint8_t> bytes = BytesOf(profile, name);
  spec.attribute("ICCProfile", OIIO::TypeDesc(OIIO::TypeDesc::UINT8, static_cast<int>(bytes.size())), bytes.data());
}

}  // namespace

void AddProfileOptions(CLI::App& app, ProfileOptions* options) {
  app.add_option("--profile", options->profile,
                 "Convert colours between two spaces, each an ICC file or a standard name; FROM may be 'file', the "
                 "profile in the picture. Names: " +
                     ProfileNames())
      ->type_name("FROM:TO");
  app.add_option("--intent", options->intent, "How --profile treats colours that the new space cannot show")
      ->check(OneOf({kIntents.begin(), kIntents.end()}))
      ->type_name("perceptual|relative|saturation|absolute")
      ->capture_default_str();
}

void CheckProfileOptions(const ProfileOptions& options) {
  if (options.wanted()) Split(options.profile);
}

ProfileConversion::ProfileConversion(const ProfileOptions& options, PictureFacts* facts, int depth, Reporter* reporter)
    : where_(QuotedInput(facts->name)) {
  const Ends ends = Split(options.profile);
  const Profile to = ReadProfile("--profile", ends.to);
  const Profile from = ends.from == kOfFile ? EmbeddedProfile(*facts) : ReadProfile("--profile", ends.from);
  COR_XCE_TransformOptions how = {};
  how.intent = static_cast<XCE_Intent>(std::find(kIntents.begin(), kIntents.end(), options.intent) - kIntents.begin());
  XCETransform* transform = nullptr;
  if (const U_Err status = COR_NewTransform(from.get(), to.get(), &how, &transform)) {
    if (status != XCE_ERR_NO_TRANSFORM) throw ProfileFailure("'" + options.profile + "'", status);
    throw Failure(ExitCode::kBadData, "cannot convert", where_,
                  fmt::format("there is no way from {} to {}", ProfileTitle(from), ProfileTitle(to)),
                  "try another --intent or another profile");
  }
  transform_.reset(transform);
  FitChannels(InfoOf(to).is_grey != 0, ends.to, facts, reporter);
  Describe(to, ends.to, facts);
  reporter->Note(
      fmt::format("colours converted from {} to {}, {} intent", ProfileTitle(from), ProfileTitle(to), options.intent));
  if (facts->encoding == "Linear" && depth == 8) {
    reporter->Note("8 bits are few for linear light; --depth 16 or 32 keeps the shadows");
  }
}

void ProfileConversion::Apply(PF_World* world, Reporter* reporter) const {
  Check(PF_XCEApplyTransform(transform_.get(), world, world, true, reporter->Info(world->height)), "cannot convert",
        where_);
}

}  // namespace pftool
