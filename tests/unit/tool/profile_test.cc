// After colours that change where they should stay, profiles that do not arrive in the file, and hostile profiles.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;

std::string ProfileOf(const std::string& path) {
  const FilePicture picture = pftest::Read(path);
  const OIIO::ParamValue* bytes = picture.spec.find_attribute("ICCProfile");
  return bytes ? std::string(static_cast<const char*>(bytes->data()), bytes->type().size()) : "";
}

struct Profiles : ::testing::Test {
  int Convert(const std::string& from, const std::string& to, std::vector<std::string> options) {
    options.insert(options.begin(), {"convert", from, "-o", to});
    const auto outcome = RunPf(folder, options);
    said = outcome.err;
    return outcome.status;
  }
  Folder folder;
  std::string said;
};

TEST_F(Profiles, ConvertColoursAndGoWithThePicture) {
  FilePicture picture(2, 1, 4, TypeDesc::UINT8);
  const std::uint8_t values[] = {255, 0, 0, 255, 90, 160, 30, 77};
  std::copy(std::begin(values), std::end(values), picture.as<std::uint8_t>());
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(folder / "a.png", picture);
  ASSERT_EQ(Convert("a.png", "p3.tif", {"--profile", "srgb:display-p3", "--depth", "32"}), 0) << said;
  const auto p3 = pftest::ValuesOf<float>(folder / "p3.tif");
  const float red[] = {0.91749f, 0.20029f, 0.13856f, 1};  // the red of IEC 61966-2-1 in the other's primaries
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(p3[i], red[i], 3e-4) << i;
  EXPECT_NEAR(p3[7], 77 / 255.0, 1e-6);
  EXPECT_NE(ProfileOf(folder / "p3.tif").find("acsp"), std::string::npos);
  // Back by the profile in the file, whatever the convention of alpha.
  ASSERT_EQ(Convert("p3.tif", "pre.tif", {"--to-alpha", "premultiplied"}), 0) << said;
  EXPECT_EQ(ProfileOf(folder / "pre.tif"), ProfileOf(folder / "p3.tif"));
  for (const char* name : {"p3.tif", "pre.tif"}) {
    ASSERT_EQ(Convert(name, "back.png", {"--profile", "file:srgb", "--depth", "8", "--overwrite"}), 0) << said;
    const auto back = pftest::ValuesOf<std::uint8_t>(folder / "back.png");
    EXPECT_EQ(back, (std::vector<std::uint8_t>(std::begin(values), std::end(values)))) << name;
  }
  ASSERT_EQ(Convert("a.png", "l.exr", {"--profile", "srgb:linear-srgb", "--depth", "32"}), 0) << said;
  EXPECT_NE(said.find("hold no profile"), std::string::npos);
  EXPECT_NEAR(pftest::ValuesOf<float>(folder / "l.exr")[5] / (77 / 255.0), 0.351533, 1e-4);
}

TEST_F(Profiles, LeaveWhatIsNoNumberInItsPixel) {
  FilePicture picture(5, 1, 3, TypeDesc::FLOAT);
  std::fill_n(picture.as<float>(), 15, 0.5f);
  picture.as<float>()[7] = std::numeric_limits<float>::quiet_NaN();
  Write(folder / "a.tif", picture);
  ASSERT_EQ(Convert("a.tif", "b.tif", {"--profile", "srgb:rec2020"}), 0) << said;
  const auto made = pftest::ValuesOf<float>(folder / "b.tif");
  for (std::size_t i = 0; i < 15; ++i) {
    if (i / 3 == 2) continue;
    EXPECT_EQ(made[i], made[i % 3]) << i;
  }
  EXPECT_TRUE(std::isfinite(made[0]));
}

TEST_F(Profiles, FitTheChannelsOfTheFile) {
  FilePicture grey(3, 1, 1, TypeDesc::UINT8), colours(3, 1, 3, TypeDesc::UINT8);
  grey.as<std::uint8_t>()[1] = 100;
  Write(folder / "grey.png", grey);
  Write(folder / "rgb.png", colours);
  ASSERT_EQ(Convert("grey.png", "a.png", {"--profile", "grey-srgb:display-p3"}), 0) << said;
  EXPECT_EQ(pftest::Read(folder / "a.png").spec.nchannels, 3);
  EXPECT_EQ(pftest::ValuesOf<std::uint8_t>(folder / "a.png")[4], 100);
  ASSERT_EQ(Convert("grey.png", "b.png", {"--profile", "grey-srgb:grey-linear"}), 0) << said;
  EXPECT_EQ(pftest::ValuesOf<std::uint8_t>(folder / "b.png"), (std::vector<std::uint8_t>{0, 32, 0}));
  EXPECT_NE(ProfileOf(folder / "b.png"), "");
  EXPECT_EQ(Convert("rgb.png", "c.png", {"--profile", "srgb:grey-22"}), 64);
}

TEST_F(Profiles, ThatAreNoneAreRefused) {
  FilePicture picture(3, 2, 3, TypeDesc::UINT8);
  Write(folder / "a.png", picture);
  ASSERT_EQ(Convert("a.png", "good.tif", {"--profile", "srgb:display-p3"}), 0) << said;
  const std::string good = ProfileOf(folder / "good.tif");
  const auto hostile = [&](const std::string& name, std::string bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
    FilePicture with = picture;
    with.spec.attribute("ICCProfile", TypeDesc(TypeDesc::UINT8, static_cast<int>(bytes.size())), bytes.data());
    Write(folder / (name + ".tif"), with);
  };
  hostile("short.icc", good.substr(0, 100));
  hostile("half.icc", good.substr(0, good.size() / 2));
  hostile("noise.icc", std::string(3000, '\xA5'));
  std::string tags = good, space = good;
  tags.replace(128, 4, "\xFF\xFF\xFF\xFF");  // how many tags there are
  space.replace(16, 4, "CMYK");
  hostile("tags.icc", tags);
  hostile("space.icc", space);
  const auto before = folder.Names();
  for (const std::string name : {"short.icc", "half.icc", "noise.icc", "tags.icc", "space.icc"}) {
    EXPECT_EQ(Convert("a.png", "no.png", {"--profile", "srgb:" + name}), 65) << name << said;
    EXPECT_EQ(Convert(name + ".tif", "no.png", {"--profile", "file:srgb"}), 65) << name << said;
  }
  EXPECT_EQ(Convert("a.png", "no.png", {"--profile", "file:srgb"}), 65);
  EXPECT_NE(said.find("holds no profile"), std::string::npos) << said;
  for (const char* text : {"srgb", ":", "srgb:", ":srgb", "srgb:none", "none.icc:srgb", "srgb:file"}) {
    EXPECT_EQ(Convert("a.png", "no.png", {"--profile", text}), 64) << text << said;
  }
  EXPECT_EQ(Convert("a.png", "no.png", {"--profile", "srgb:oprgb", "--intent", "best"}), 64);
  EXPECT_EQ(folder.Names(), before);
}

}  // namespace
