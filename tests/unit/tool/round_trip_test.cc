// After values that change on their way from a file to a world and back: wrong full value, wrong channel,
// alpha multiplied by a codec, metadata lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "Support.h"
#include "picture.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;

constexpr int kWidth = 37, kHeight = 70;  // more than one band of rows

struct Row {
  const char* extension;
  TypeDesc type;
  int channels;
  bool straight;
};

FilePicture Make(const Row& row) {
  FilePicture picture(kWidth, kHeight, row.channels, row.type);
  if (row.straight) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  FillRandom(&picture, static_cast<std::uint32_t>(row.channels));
  return picture;
}

TEST(RoundTrips, At8BitsHalfAndFloatGiveTheFileBackBitForBit) {
  const Row rows[] = {
      {"png", TypeDesc::UINT8, 1, false}, {"png", TypeDesc::UINT8, 2, true},  {"png", TypeDesc::UINT8, 3, false},
      {"png", TypeDesc::UINT8, 4, true},  {"tif", TypeDesc::UINT8, 1, false}, {"tif", TypeDesc::UINT8, 2, true},
      {"tif", TypeDesc::UINT8, 3, false}, {"tif", TypeDesc::UINT8, 4, true},  {"tif", TypeDesc::UINT8, 4, false},
      {"tif", TypeDesc::FLOAT, 4, false}, {"tif", TypeDesc::FLOAT, 1, false}, {"exr", TypeDesc::HALF, 4, false},
      {"exr", TypeDesc::HALF, 3, false},  {"exr", TypeDesc::HALF, 1, false},  {"exr", TypeDesc::FLOAT, 4, false},
      {"exr", TypeDesc::FLOAT, 2, false}, {"tga", TypeDesc::UINT8, 1, false}, {"tga", TypeDesc::UINT8, 4, true},
      {"bmp", TypeDesc::UINT8, 3, false}, {"bmp", TypeDesc::UINT8, 4, true},  {"dpx", TypeDesc::UINT8, 3, false},
      {"dpx", TypeDesc::FLOAT, 4, false}, {"ppm", TypeDesc::UINT8, 3, false}, {"ppm", TypeDesc::UINT8, 1, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.extension) + " " + row.type.c_str() + " " + std::to_string(row.channels));
    const Folder folder;
    const std::string in = std::string("in.") + row.extension, out = std::string("out.") + row.extension;
    const FilePicture before = Make(row);
    Write(folder / in, before);
    const auto outcome = RunPf(folder, {"convert", in, "-o", out});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const FilePicture after = pftest::Read(folder / out);
    EXPECT_EQ(after.spec.format, before.spec.format);
    EXPECT_EQ(after.spec.nchannels, before.spec.nchannels);
    EXPECT_TRUE(after.values == before.values);
    // The tool's own comparison agrees, and the convention is still told.
    EXPECT_EQ(RunPf(folder, {"compare", in, out}).status, 0);
    if (row.channels == 4) {
      const auto told = [&](const std::string& name) {
        return nlohmann::json::parse(RunPf(folder, {"info", "--json", name}).out)["pictures"][0]["alpha"];
      };
      EXPECT_EQ(told(out), row.straight ? "straight alpha" : "premultiplied alpha");
    }
  }
}

TEST(RoundTrips, Of16BitFilesStayWithinOneStepForEveryValue) {
  FilePicture before(256, 256, 1, TypeDesc::UINT16);
  for (std::size_t i = 0; i < 65536; ++i) before.as<std::uint16_t>()[i] = static_cast<std::uint16_t>(i);
  for (const char* extension : {"png", "tif"}) {
    const Folder folder;
    const std::string in = std::string("in.") + extension, out = std::string("out.") + extension;
    Write(folder / in, before);
    ASSERT_EQ(RunPf(folder, {"convert", in, "-o", out, "--depth", "16"}).status, 0);
    const FilePicture after = pftest::Read(folder / out);
    ASSERT_EQ(after.spec.format, TypeDesc(TypeDesc::UINT16));
    int largest = 0;
    for (std::size_t i = 0; i < 65536; ++i) {
      largest = std::max(largest, std::abs(after.as<std::uint16_t>()[i] - static_cast<int>(i)));
    }
    EXPECT_EQ(largest, 1);
    EXPECT_EQ(after.as<std::uint16_t>()[0], 0);
    EXPECT_EQ(after.as<std::uint16_t>()[65535], 65535);
    // A second trip changes nothing more.
    ASSERT_EQ(RunPf(folder, {"convert", out, "-o", std::string("twice.") + extension}).status, 0);
    EXPECT_TRUE(pftest::Read(folder / (std::string("twice.") + extension)).values == after.values);
  }
}

TEST(RoundTrips, EveryWorldValueOf16BitsSurvivesTheFile) {
  for (std::uint32_t w = 0; w <= PF_MAX_CHAN16; ++w) {
    const auto value = static_cast<std::uint16_t>(w);
    ASSERT_EQ(pftool::WorldFromFile16(pftool::FileFromWorld16(value)), value);
  }
  EXPECT_EQ(pftool::FileFromWorld16(40000), 65535);
}

TEST(RoundTrips, ThroughDeeperWorldsGive8BitsBack) {
  const Folder folder;
  FilePicture before = Make({"png", TypeDesc::UINT8, 4, true});
  Write(folder / "in.png", before);
  for (const char* depth : {"16", "32"}) {
    ASSERT_EQ(RunPf(folder, {"convert", "in.png", "-o", "deep.tif", "--depth", depth, "--overwrite"}).status, 0);
    ASSERT_EQ(RunPf(folder, {"convert", "deep.tif", "-o", "back.png", "--depth", "8", "--overwrite"}).status, 0);
    EXPECT_TRUE(pftest::Read(folder / "back.png").values == before.values) << depth;
  }
}

TEST(Conversions, MapWhiteToWhiteAndLimitFloat) {
  const Folder folder;
  FilePicture picture(3, 1, 1, TypeDesc::FLOAT);
  const float values[] = {1.0f, 7.5f, -1.0f};
  std::copy(values, values + 3, picture.as<float>());
  Write(folder / "in.tif", picture);
  ASSERT_EQ(RunPf(folder, {"convert", "in.tif", "-o", "a.tif", "--depth", "16"}).status, 0);
  ASSERT_EQ(RunPf(folder, {"convert", "in.tif", "-o", "b.tif", "--depth", "8"}).status, 0);
  const FilePicture a = pftest::Read(folder / "a.tif"), b = pftest::Read(folder / "b.tif");
  EXPECT_EQ(std::vector<std::uint16_t>(a.as<std::uint16_t>(), a.as<std::uint16_t>() + 3),
            (std::vector<std::uint16_t>{65535, 65535, 0}));
  EXPECT_EQ(std::vector<std::uint8_t>(b.as<std::uint8_t>(), b.as<std::uint8_t>() + 3),
            (std::vector<std::uint8_t>{255, 255, 0}));
}

TEST(Conversions, DitherKeepsTheMeanAndIsRepeatable) {
  const Folder folder;
  FilePicture picture(128, 128, 1, TypeDesc::FLOAT);
  std::fill_n(picture.as<float>(), picture.count(), 100.25f / 255);
  Write(folder / "in.tif", picture);
  for (const char* name : {"a.tif", "b.tif"}) {
    ASSERT_EQ(RunPf(folder, {"convert", "in.tif", "-o", name, "--depth", "8", "--dither"}).status, 0);
  }
  const FilePicture a = pftest::Read(folder / "a.tif");
  double mean = 0;
  for (std::size_t i = 0; i < a.count(); ++i) mean += a.as<std::uint8_t>()[i] / static_cast<double>(a.count());
  EXPECT_NEAR(mean, 100.25, 0.03);
  EXPECT_TRUE(pftest::Read(folder / "b.tif").values == a.values);
}

TEST(Conversions, ChangeTheAlphaConventionWhenAskedOrWhenTheFormatNeedsIt) {
  const Folder folder;
  FilePicture picture(1, 1, 4, TypeDesc::UINT8);
  const std::uint8_t values[] = {200, 100, 50, 51};
  std::copy(values, values + 4, picture.as<std::uint8_t>());
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(folder / "in.png", picture);
  ASSERT_EQ(RunPf(folder, {"convert", "in.png", "-o", "p.tif", "--to-alpha", "premultiplied"}).status, 0);
  const FilePicture tif = pftest::Read(folder / "p.tif");
  EXPECT_EQ(std::vector<std::uint8_t>(tif.as<std::uint8_t>(), tif.as<std::uint8_t>() + 4),
            (std::vector<std::uint8_t>{40, 20, 10, 51}));
  EXPECT_EQ(tif.spec.get_int_attribute("oiio:UnassociatedAlpha", 0), 0);

  const auto outcome = RunPf(folder, {"convert", "in.png", "-o", "p.exr"});
  ASSERT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.err.find("converted to premultiplied alpha"), std::string::npos) << outcome.err;
  const FilePicture exr = pftest::Read(folder / "p.exr");
  ASSERT_EQ(exr.spec.format, TypeDesc(TypeDesc::FLOAT));
  EXPECT_FLOAT_EQ(exr.as<float>()[0], 200.0f / 255 * 0.2f);

  // What the user says about the input wins, and the same format keeps it without a conversion.
  ASSERT_EQ(RunPf(folder, {"convert", "in.png", "-o", "as_is.png", "--alpha", "premultiplied"}).status, 0);
  EXPECT_TRUE(pftest::Read(folder / "as_is.png").values == picture.values);
}

TEST(Conversions, CarryMetadataAndWindowsOver) {
  const Folder folder;
  FilePicture picture = Make({"exr", TypeDesc::HALF, 4, false});
  picture.spec.x = 5, picture.spec.y = -3;
  picture.spec.full_x = 0, picture.spec.full_y = 0, picture.spec.full_width = 100, picture.spec.full_height = 90;
  picture.spec.attribute("Software", "camera");
  picture.spec.attribute("Orientation", 6);
  Write(folder / "in.exr", picture);
  ASSERT_EQ(RunPf(folder, {"convert", "in.exr", "-o", "out.exr"}).status, 0);
  const OIIO::ImageSpec spec = pftest::Read(folder / "out.exr").spec;
  EXPECT_EQ(std::vector<int>({spec.x, spec.y, spec.full_width, spec.full_height}), (std::vector<int>{5, -3, 100, 90}));
  EXPECT_EQ(spec.get_string_attribute("Software"), "camera");

  FilePicture photo = Make({"tif", TypeDesc::UINT8, 3, false});
  const std::vector<std::uint8_t> profile(300, 7);
  photo.spec.attribute("ICCProfile", TypeDesc(TypeDesc::UINT8, 300), profile.data());
  photo.spec.attribute("Orientation", 6);
  Write(folder / "in.tif", photo);
  ASSERT_EQ(RunPf(folder, {"scale", "in.tif", "-o", "out.tif", "--percent", "50"}).status, 0);
  const OIIO::ImageSpec scaled = pftest::Read(folder / "out.tif").spec;
  EXPECT_EQ(scaled.get_int_attribute("Orientation"), 6);
  const OIIO::ParamValue* kept = scaled.find_attribute("ICCProfile");
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(std::memcmp(kept->data(), profile.data(), profile.size()), 0);
}

TEST(Conversions, TakeRgbaOfMoreChannelsOnlyWhenAsked) {
  const Folder folder;
  FilePicture picture(4, 4, 6, TypeDesc::HALF);
  picture.spec.channelnames = {"R", "G", "B", "A", "Z", "id"};
  FillRandom(&picture, 5);
  Write(folder / "in.exr", picture);
  EXPECT_EQ(RunPf(folder, {"convert", "in.exr", "-o", "out.exr"}).status, 65);
  ASSERT_EQ(RunPf(folder, {"convert", "in.exr", "-o", "out.exr", "--rgba"}).status, 0);
  const FilePicture out = pftest::Read(folder / "out.exr");
  ASSERT_EQ(out.spec.nchannels, 4);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(std::memcmp(out.as<std::uint16_t>() + i * 4, picture.as<std::uint16_t>() + i * 6, 8), 0) << i;
  }
}

TEST(Photographs, ComeBackAsTheyWere) {
  const char* data = std::getenv("PF_TEST_DATA");
  if (!data) GTEST_SKIP() << "PF_TEST_DATA names no folder with test pictures";
  for (const char* name : {"astronaut.png", "portrait_alpha.png", "desk_hdr.exr", "flower_16bit.png"}) {
    const Folder folder;
    const std::string in = std::string(data) + "/photos/" + name;
    ASSERT_EQ(RunPf(folder, {"convert", in, "-o", name}).status, 0);
    const std::string limit = std::string(name) == "flower_16bit.png" ? "1" : "0";
    const auto outcome = RunPf(folder, {"compare", in, name, "--max", limit});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
  }
}

}  // namespace
