// After streams of pictures that lose values, rows or frames on their way, and broken ones that are taken for whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "RetimeFrames.h"

namespace {

using OIIO::TypeDesc;
using pftest::Folder;
using pftest::Outcome;
using pftest::RunPf;
using pftest::Slurp;

std::string Bytes(std::size_t count, unsigned seed) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += static_cast<char>((seed = seed * 1103515245u + 12345u) >> 16);
  return bytes;
}

std::string Pam(int channels, int largest, unsigned seed) {
  static const char* const kTypes[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  return "P7\nWIDTH 6\nHEIGHT 4\nDEPTH " + std::to_string(channels) + "\nMAXVAL " + std::to_string(largest) +
         "\nTUPLTYPE " + kTypes[channels] + "\nENDHDR\n" +
         Bytes(static_cast<std::size_t>(24 * channels * (largest > 255 ? 2 : 1)), seed);
}

std::string Pfm(const std::string& scale) {
  std::string text = "PF\n6 4\n" + scale + "\n";
  for (int i = 0; i < 72; ++i) {
    const float value = static_cast<float>(i) / 64;
    std::string bytes(reinterpret_cast<const char*>(&value), 4);
    if (scale[0] != '-') bytes = {bytes[3], bytes[2], bytes[1], bytes[0]};
    text += bytes;
  }
  return text;
}

void Save(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

TEST(Streams, PassSourceFramesBitForBit) {
  const Folder folder;
  const std::pair<std::string, std::string> rows[] = {
      {Pam(3, 255, 1), Pam(3, 255, 2)},
      {Pam(4, 65535, 1), Pam(4, 65535, 2)},
      {Pam(1, 65535, 1), Pam(1, 65535, 2)},
      {Pam(2, 255, 1), Pam(2, 255, 2)},
      {Pfm("-1.0"), Pfm("-1.0")},
      {"P6\n6 4\n255\n" + Bytes(72, 3), "P6\n6 4\n255\n" + Bytes(72, 4)},
      {"P5\n6 4\n65535\n" + Bytes(48, 3), "P5\n6 4\n65535\n" + Bytes(48, 4)}};
  for (const auto& [a, b] : rows) {
    Save(folder / "in", a + b);
    const Outcome outcome = RunPf(folder, {"retime", "-", "-o", "-", "--speed", "0.5", "--cuts", "ignore"}, "in");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(outcome.out.size(), 2 * a.size() + b.size());
    EXPECT_EQ(outcome.out.substr(0, a.size()), a);
    EXPECT_EQ(outcome.out.substr(2 * a.size()), b);
    EXPECT_EQ(outcome.out.substr(a.size(), 8), a.substr(0, 8)) << "the frame between has their form";
  }
  // Equal frames show that rows, channels and bytes keep their places on the way through worlds.
  for (const std::string& a : {Pam(3, 255, 7), Pfm("-1.0"), Pfm("1.0")}) {
    Save(folder / "in", a + a);
    const Outcome outcome = RunPf(folder, {"retime", "-", "-o", "-", "--at", "0.5"}, "in");
    EXPECT_TRUE(outcome.out == a) << outcome.err;
  }
}

TEST(Streams, MeetFiles) {
  const Folder folder;
  Save(folder / "in", "P6\n# a comment\n6 4\n255\n" + Bytes(72, 3) + "P6 6 4 255\n" + Bytes(72, 3));
  ASSERT_EQ(RunPf(folder, {"retime", "-", "-o", "o.%d.png", "--speed", "1"}, "in").status, 0);
  const auto values = pftest::ValuesOf<std::uint8_t>(folder / "o.2.png");
  EXPECT_EQ(std::string(values.begin(), values.end()), Bytes(72, 3));
  const Outcome outcome = RunPf(folder, {"retime", "o.#.png", "-o", "-", "--speed", "1"});
  EXPECT_EQ(outcome.out.substr(outcome.out.size() - 72), Bytes(72, 3));
  // All steps of 16-bit files, most significant byte first.
  pftest::FilePicture deep(6, 4, 3, TypeDesc::UINT16);
  FillRandom(&deep, 1);
  for (const char* name : {"d.1.png", "d.2.png"}) Write(folder / name, deep);
  const std::string stream = RunPf(folder, {"retime", "d.#.png", "-o", "-", "--speed", "1"}).out;
  const std::string last = stream.substr(stream.size() - 144);
  for (std::size_t i = 0; i < 72; ++i) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(last[at]); };
    ASSERT_EQ(byte(2 * i) * 256 + byte(2 * i + 1), deep.as<std::uint16_t>()[i]) << i;
  }
}

TEST(Streams, AreLookedAtWholeWhereFramesAreLeftOut) {
  const Folder folder;
  std::string stream;
  for (int i = 0; i < 24; ++i) {
    const pftest::FilePicture frame = pftest::Waves8(2 * i, i < 11 ? 0 : 1);
    stream += "P6 64 36 255\n" + std::string(frame.as<char>(), frame.values.size());
  }
  Save(folder / "in", stream);
  const Outcome outcome = RunPf(folder, {"retime", "-", "-o", "out.%d.png", "--speed", "10.5", "--json"}, "in");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto result = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(result["frames"].size(), 3u);
  ASSERT_EQ(result["cuts"].size(), 1u);
  EXPECT_EQ(result["cuts"][0]["previous"], "frame 11 of standard input");
}

TEST(Streams, ThatAreBrokenAreRefused) {
  const Folder folder;
  const std::string whole = Pam(3, 255, 1);
  struct Row {
    std::string stream;
    const char* why;
  };
  const Row rows[] = {{"", "it is empty"},
                      {whole, "single frame"},
                      {whole + whole.substr(0, whole.size() - 5), "frame 2 of standard input: it ends after 67 of 72"},
                      {whole + whole.substr(0, 20), "header ends early"},
                      {whole + "\x89PNG and more", "does not begin"},
                      {whole + "P7\nWIDTH 6\nENDHDR\n", "lacks"},
                      {whole + "P6\n6 0\n255\n", "height is 0"},
                      {whole + "P6\n6 99999999999999\n255\n", "1 to 30000"},
                      {whole + "P6\n6 4\n1023\n", "1023"},
                      {whole + "P6\n7 4\n255\n" + Bytes(84, 1), "7 x 4"},
                      {whole + Pam(3, 65535, 1), "16 bits"},
                      {whole + Pam(4, 255, 1), "other channels"}};
  for (const Row& row : rows) {
    Save(folder / "in", row.stream);
    const Outcome outcome = RunPf(folder, {"retime", "-", "-o", "-", "--speed", "1"}, "in");
    EXPECT_EQ(outcome.status, 65) << row.why << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(row.why), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out.size() % whole.size(), 0u) << row.why << ": part of a frame was written";
  }
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"in"}));
}

// Runs a line of the shell in the folder, with "pf" for the program.
int Shell(const Folder& folder, const std::string& line) {
  Save(folder / "line",
       "cd '" + folder.path().string() + "'\nset -o pipefail\npf() { '" PF_TOOL_PATH "' \"$@\"; }\n" + line);
  return WEXITSTATUS(std::system(("bash '" + (folder / "line") + "'").c_str()));
}

TEST(Streams, EndWithThePipe) {
  const Folder folder;
  std::string many;
  for (unsigned i = 0; i < 200; ++i) many += Pam(3, 255, i);
  Save(folder / "in", many);
  EXPECT_EQ(Shell(folder, "pf retime - -o - --speed 0.01 --mode fade --cuts ignore < in | head -c 100 > out"), 74);
}

TEST(Streams, StandBetweenVideoPrograms) {
  if (std::system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg is not installed";
  const Folder folder;
  pftest::WriteShot(folder, "in", 6);
  ASSERT_EQ(Shell(folder, "ffmpeg -v error -framerate 24 -i in.%04d.png -c:v ffv1 -pix_fmt gbrp in.mkv"), 0);
  ASSERT_EQ(
      Shell(folder,
            "ffmpeg -v error -i in.mkv -f image2pipe -c:v pam -pix_fmt rgb24 - | pf retime - -o - --fps 24:60 "
            "--hold-last | ffmpeg -v error -f image2pipe -framerate 60 -c:v pam -i - -c:v ffv1 -pix_fmt gbrp out.mkv"),
      0);
  ASSERT_EQ(Shell(folder, "ffmpeg -v error -i out.mkv -pix_fmt rgb24 out.%04d.png"), 0);
  EXPECT_TRUE(std::filesystem::exists(folder / "out.0015.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "out.0016.png"));
  EXPECT_TRUE(pftest::Read(folder / "out.0006.png").values == pftest::Read(folder / "in.0003.png").values);
  ASSERT_EQ(RunPf(folder, {"retime", "in.0002.png", "in.0003.png", "--at", "0.6", "-o", "one.png"}).status, 0);
  EXPECT_TRUE(pftest::Read(folder / "out.0005.png").values == pftest::Read(folder / "one.png").values);
}

}  // namespace
