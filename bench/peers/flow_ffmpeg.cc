// ffmpeg's motion-compensated interpolation, run as a program on a stream of the two frames. Its default search and
// blending; the test for changes of scene is off, as it would repeat a frame instead.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "peers/FramePeers.h"

namespace pfbench {
namespace {

// A folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_(std::filesystem::temp_directory_path() / "pf_bench_XXXXXX") {
    std::string name = path_.string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder like " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string File(const char* name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

std::vector<char> Bytes(const Image& image) {
  std::vector<char> bytes;
  for (const float value : image.rgb) bytes.push_back(static_cast<char>(static_cast<unsigned char>(value)));
  return bytes;
}

class Interpolation : public FrameMaker {
 public:
  explicit Interpolation(const Triplet& triplet) : result_(triplet.previous.size, false) {
    const std::vector<char> previous = Bytes(triplet.previous), next = Bytes(triplet.next);
    std::ofstream stream(folder_.File("in.raw"), std::ios::binary);
    // The filter gives out nothing for its last frame: with the next one twice, the second of what it gives out is the
    // middle.
    for (const auto* frame : {&previous, &next, &next}) {
      stream.write(frame->data(), static_cast<std::streamsize>(frame->size()));
    }
    if (!stream.flush()) throw std::runtime_error("cannot write the stream for ffmpeg");
  }

  void Make() override {
    const std::string command = "ffmpeg -nostdin -v error -y -f rawvideo -pix_fmt rgb24 -s " +
                                std::to_string(result_.size.width) + "x" + std::to_string(result_.size.height) +
                                " -r 1 -i '" + folder_.File("in.raw") +
                                "' -vf format=yuv444p,minterpolate=fps=2:mi_mode=mci:scd=none -f rawvideo "
                                "-pix_fmt rgb24 '" +
                                folder_.File("out.raw") + "'";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
    std::ifstream stream(folder_.File("out.raw"), std::ios::binary);
    std::vector<char> bytes(result_.rgb.size());
    stream.seekg(static_cast<std::streamoff>(bytes.size()));
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) throw std::runtime_error("ffmpeg gave out no middle frame");
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      result_.rgb[i] = static_cast<float>(static_cast<unsigned char>(bytes[i]));
    }
  }

  Image Result() const override { return result_; }
  Vector Motion(std::int32_t, std::int32_t) const override { return {}; }

 private:
  TemporaryFolder folder_;
  Image result_;
};

// "ffmpeg version 5.1.9-0 Copyright": the third word.
std::string Version() {
  const std::unique_ptr<FILE, int (*)(FILE*)> program(popen("ffmpeg -nostdin -version 2>/dev/null", "r"), &pclose);
  std::array<char, 64> version = {};
  if (program == nullptr || std::fscanf(program.get(), "ffmpeg version %63s", version.data()) != 1) return "";
  // Read to the end, else the program dies of writing.
  while (std::fgetc(program.get()) != EOF) {
  }
  return version.data();
}

const FramePeerRegistration kRegistration({"minterpolate", "ffmpeg -vf minterpolate=mi_mode=mci:scd=none, in 4:4:4",
                                           false, false, &Version, [](const Triplet& triplet) {
                                             return std::make_unique<Interpolation>(triplet);
                                           }});

}  // namespace
}  // namespace pfbench
