// After bad input that ends in the wrong exit code, in more or less than one sentence, or in a file that should
// not be there.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::Child;
using pftest::FilePicture;
using pftest::Folder;
using pftest::Outcome;
using pftest::RunPf;

FilePicture Noise(int width, int height, int channels, TypeDesc type = TypeDesc::UINT8) {
  FilePicture picture(width, height, channels, type);
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  FillRandom(&picture, 1);
  return picture;
}

void CutTo(const std::string& from, const std::string& to, double part) {
  const std::string bytes = pftest::Slurp(from);
  std::ofstream(to, std::ios::binary) << bytes.substr(
      0, static_cast<std::size_t>(static_cast<double>(bytes.size()) * part));
}

// Lines of the error output that are no notes about what is assumed or chosen.
std::vector<std::string> Sentences(const std::string& err) {
  std::vector<std::string> lines;
  std::istringstream in(err);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("pf: cannot", 0) == 0 || line.rfind("pf: ", 0) != 0) lines.push_back(line);
  }
  return lines;
}

class BadInput : public testing::Test {
 protected:
  void SetUp() override {
    Write(folder / "ok.png", Noise(64, 48, 3));
    Write(folder / "alpha.png", Noise(64, 48, 4));
    Write(folder / "five.tif", Noise(8, 8, 5));
    Write(folder / "wide.png", Noise(30001, 1, 1));
    for (const char* extension : {"png", "jpg", "tif", "exr", "tga", "bmp"}) {
      const std::string whole = folder / (std::string("whole.") + extension);
      Write(whole, Noise(300, 200, 3));
      for (const auto& [name, part] : {std::pair("cut90.", 0.9), std::pair("cut10.", 0.1)}) {
        CutTo(whole, folder / (std::string(name) + extension), part);
      }
    }
    std::ofstream(folder / "empty.png") << "";
    std::ofstream(folder / "text.png") << "no picture";
    std::filesystem::create_directory(folder.path() / "folder");
    std::filesystem::create_directory(folder.path() / "folder.png");
  }

  // Runs, and checks the exit code, that there is one sentence with advice, and that nothing was left.
  void Refuses(int code, const std::vector<std::string>& arguments) {
    std::string shown;
    for (const std::string& argument : arguments) shown += argument + " ";
    SCOPED_TRACE(shown);
    const auto before = folder.Names();
    // Codecs drop some of their memory when they give up in the middle of a file.
    ::setenv("LSAN_OPTIONS", "detect_leaks=0", 1);
    const Outcome outcome = RunPf(folder, arguments);
    ::unsetenv("LSAN_OPTIONS");
    EXPECT_EQ(outcome.status, code) << outcome.err;
    const auto sentences = Sentences(outcome.err);
    EXPECT_EQ(sentences.size(), 1u) << outcome.err;
    EXPECT_NE(outcome.err.find("; "), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out.empty(), std::count(arguments.begin(), arguments.end(), "--json") == 0);
    EXPECT_EQ(folder.Names(), before);
  }

  Folder folder;
};

TEST_F(BadInput, OfPicturesIsRefused) {
  for (const char* name : {"none.png", "folder", "ok.png/x.png", "none.%04d.png"}) {
    Refuses(66, {"scale", name, "-o", "o.png", "--percent", "50"});
  }
  for (const char* name : {"empty.png", "text.png", "five.tif", "wide.png"}) {
    Refuses(65, {"scale", name, "-o", "o.png", "--percent", "50"});
  }
  for (const char* extension : {"png", "jpg", "tif", "exr", "tga", "bmp"}) {
    Refuses(65, {"scale", std::string("cut90.") + extension, "-o", "o.png", "--percent", "50"});
    Refuses(65, {"convert", std::string("cut10.") + extension, "-o", "o.png", "--depth", "16"});
    Refuses(65, {"compare", "whole.png", std::string("cut90.") + extension});
  }
}

TEST_F(BadInput, OfNumbersIsRefused) {
  for (const char* size : {"0x0", "-1x5", "NaNx5", "1e12x5", "30001x5", "5", ""}) {
    Refuses(64, {"scale", "ok.png", "-o", "o.png", "--size", size});
  }
  for (const char* percent : {"0", "-1", "NaN", "1e12", "1e999"}) {
    Refuses(64, {"scale", "ok.png", "-o", "o.png", "--percent", percent});
  }
  Refuses(64, {"scale", "ok.png", "-o", "o.png"});
  Refuses(64, {"scale", "ok.png", "-o", "o.png", "--percent", "50", "--depth", "12"});
  Refuses(64, {"scale", "ok.png", "-o", "o.png", "--percent", "50", "--size", "5x5"});
  Refuses(64, {"scale", "ok.png", "-o", "o.png", "--percent", "50", "--frames", "1-3"});
  Refuses(64, {"scale", "ok.png", "-o", "o.png", "--fit", "--percent", "50"});
  Refuses(64, {"scale", "ok.png", "-o", "o.png", "--crop", "65x1+0+0"});
  Refuses(64, {"compare", "ok.png", "ok.png", "--max", "NaN"});
  Refuses(64, {"frobnicate"});
  Refuses(64, {});
}

TEST_F(BadInput, OfOutputsIsRefusedBeforeAnythingIsWritten) {
  Refuses(64, {"convert", "ok.png", "alpha.png", "-o", "o.png"});
  Refuses(64, {"convert", "ok.png", "./ok.png", "-o", "folder"});
  Refuses(64, {"convert", "ok.png", "-o", "o.%04d.png"});
  Refuses(64, {"convert", "ok.png", "-o", "o.%s.png"});
  Refuses(64, {"convert", "ok.png", "-o", "o.xyz"});
  Refuses(64, {"convert", "ok.png", "-o", "o"});
  Refuses(64, {"convert", "ok.png", "-o", ""});
  Refuses(64, {"convert", "alpha.png", "-o", "o.jpg"});
  Refuses(64, {"convert", "ok.png", "-o", "o.jpg", "--depth", "16"});
  Refuses(64, {"convert", "ok.png", "-o", "-", "--json", "--format", "nonsense"});
  Refuses(73, {"convert", "ok.png", "-o", "none/o.png"});
  Refuses(73, {"convert", "ok.png", "-o", "text.png/o.png"});
  Refuses(73, {"convert", "ok.png", "-o", "whole.png"});
  Refuses(73, {"sheet", "ok.png", "-o", "o.png", "--page", "none/o.html"});
  Refuses(73, {"sheet", "ok.png", "-o", "folder.png"});
  // The first pair of a sequence is fine, the second would take another input's place.
  Refuses(64, {"convert", "ok.png", "folder/../alpha.png", "-o", "./", "--overwrite", "folder/../ok.png"});
  EXPECT_TRUE(pftest::Read(folder / "ok.png").values == Noise(64, 48, 3).values);
}

TEST_F(BadInput, WithoutRightsIsRefused) {
  ::chmod((folder / "folder").c_str(), 0500);
  std::ofstream(folder / "secret.png") << "x";
  ::chmod((folder / "secret.png").c_str(), 0);
  const bool rights_count = ::access((folder / "secret.png").c_str(), R_OK) != 0;
  if (rights_count) {
    Refuses(66, {"info", "secret.png"});
    Refuses(73, {"convert", "ok.png", "-o", "folder/o.png"});
  }
  ::chmod((folder / "folder").c_str(), 0700);
  if (!rights_count) GTEST_SKIP() << "this user may read and write everything";
}

TEST_F(BadInput, IsToldInJsonToo) {
  const Outcome outcome = RunPf(folder, {"scale", "none.png", "-o", "o.png", "--percent", "5", "--json"});
  EXPECT_EQ(outcome.status, 66);
  const auto error = nlohmann::json::parse(outcome.out)["error"];
  EXPECT_EQ(error["exit_code"], 66);
  EXPECT_EQ(error["where"], "'none.png'");
  for (const char* part : {"what", "why", "next"}) EXPECT_NE(error[part], "") << part;
}

TEST_F(BadInput, OfTooMuchMemoryIsRefused) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer itself needs more address space than the limit";
#endif
  const auto before = folder.Names();
  const Outcome outcome =
      RunPf(folder, {"scale", "ok.png", "-o", "o.png", "--size", "15000x15000", "--depth", "32", "--threads", "1"}, "",
            std::uint64_t{2} << 30);
  EXPECT_EQ(outcome.status, 71) << outcome.err;
  EXPECT_EQ(Sentences(outcome.err).size(), 1u) << outcome.err;
  EXPECT_EQ(folder.Names(), before);
}

TEST_F(BadInput, OverwritesOnlyWhenAskedAndWholly) {
  const std::string before = pftest::Slurp(folder / "whole.png");
  EXPECT_EQ(RunPf(folder, {"convert", "cut90.jpg", "-o", "whole.png", "--overwrite"}).status, 65);
  EXPECT_EQ(pftest::Slurp(folder / "whole.png"), before);
  EXPECT_EQ(RunPf(folder, {"convert", "ok.png", "-o", "whole.png", "--overwrite"}).status, 0);
  EXPECT_TRUE(pftest::Read(folder / "whole.png").values == Noise(64, 48, 3).values);
  // A picture may take its own place.
  EXPECT_EQ(RunPf(folder, {"scale", "ok.png", "-o", "ok.png", "--percent", "50", "--overwrite"}).status, 0);
  EXPECT_EQ(pftest::Read(folder / "ok.png").spec.width, 32);
}

// Interrupts a run as soon as it says that the stage has begun.
void Interrupts(int signal_number, const char* stage, const std::string& output, int code) {
  SCOPED_TRACE(std::string(stage) + " " + output);
  const Folder folder;
  Write(folder / "in.png", Noise(600, 500, 3));
  Child child(folder,
              {"scale", "in.png", "-o", output, "--size", "11000x11000", "--threads", "1", "--progress", "plain"});
  ASSERT_TRUE(child.WaitForError(std::string(": ") + stage));
  child.Signal(signal_number);
  const Outcome outcome = child.Wait();
  EXPECT_EQ(outcome.status, code) << outcome.err;
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"in.png"}));
}

TEST(Signals, LeaveNothingBehind) {
  Interrupts(SIGINT, "scale", "out.png", 130);
  Interrupts(SIGINT, "write", "out.png", 130);
  Interrupts(SIGTERM, "write", "out.tif", 143);
  Interrupts(SIGINT, "write", "out.jpg", 130);
}

TEST(FullDisks, LeaveNothingBehind) {
  const Folder folder;
  Write(folder / "in.png", Noise(300, 300, 3));
  std::filesystem::create_directory(folder.path() / "small");
  if (::mount("tmpfs", (folder / "small").c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "only root may mount a small file system";
  }
  for (const char* extension : {"png", "tif", "exr", "jpg", "tga", "bmp", "dpx", "ppm"}) {
    const Outcome outcome =
        RunPf(folder, {"scale", "in.png", "-o", std::string("small/o.") + extension, "--percent", "150"});
    EXPECT_EQ(outcome.status, 74) << extension << ": " << outcome.err;
    EXPECT_NE(outcome.err.find("no space left"), std::string::npos) << outcome.err;
    EXPECT_EQ(Sentences(outcome.err).size(), 1u) << outcome.err;
    EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "small")) << extension;
  }
  EXPECT_EQ(::umount((folder / "small").c_str()), 0);
}

}  // namespace
