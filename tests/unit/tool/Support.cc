#include "Support.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace pftest {

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "pf-test-XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  path_ = name;
}

Folder::~Folder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

std::set<std::string> Folder::Names() const {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) names.insert(entry.path().filename().string());
  return names;
}

Child::Child(const Folder& folder, std::vector<std::string> arguments, const std::string& input,
             std::uint64_t memory_limit) {
  arguments.insert(arguments.begin(), PF_TOOL_PATH);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const std::string out = log_ / "out", err = log_ / "err", in = input.empty() ? "/dev/null" : folder / input;
  process_ = ::fork();
  if (process_ != 0) return;
  const int in_file = ::open(in.c_str(), O_RDONLY);
  const int out_file = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int err_file = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (::chdir(folder.path().c_str()) != 0) ::_exit(126);
  ::dup2(in_file, 0), ::dup2(out_file, 1), ::dup2(err_file, 2);
  ::setenv("TMPDIR", folder.path().c_str(), 1);
  ::signal(SIGINT, SIG_DFL);
  if (memory_limit) {
    const rlimit limit = {memory_limit, memory_limit};
    ::setrlimit(RLIMIT_AS, &limit);
  }
  ::execv(PF_TOOL_PATH, argv.data());
  ::_exit(127);
}

Child::~Child() {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

void Child::Signal(int number) const { ::kill(process_, number); }

bool Child::WaitForError(const std::string& text) const {
  for (int i = 0; i < 6000; ++i) {
    if (Slurp(log_ / "err").find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

Outcome Child::Wait() {
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Slurp(log_ / "out"), Slurp(log_ / "err")};
}

Outcome RunPf(const Folder& folder, std::vector<std::string> arguments, const std::string& input,
              std::uint64_t memory_limit) {
  return Child(folder, std::move(arguments), input, memory_limit).Wait();
}

FilePicture::FilePicture(int width, int height, int channels, OIIO::TypeDesc type)
    : spec(width, height, channels, type), values(static_cast<std::size_t>(spec.image_bytes())) {
  if (channels == 2) {
    spec.channelnames = {"Y", "A"};
    spec.alpha_channel = 1;
  }
}

void FillRandom(FilePicture* picture, std::uint32_t seed) {
  std::mt19937 random(seed);
  if (picture->spec.format == OIIO::TypeDesc::FLOAT) {
    for (std::size_t i = 0; i < picture->count(); ++i) {
      picture->as<float>()[i] = static_cast<float>(random() % 5000) / 4096.0f - 0.05f;
    }
  } else if (picture->spec.format == OIIO::TypeDesc::HALF) {
    // Finite positive halves up to about 2.
    for (std::size_t i = 0; i < picture->count(); ++i) {
      picture->as<std::uint16_t>()[i] = static_cast<std::uint16_t>(random() % 0x4000);
    }
  } else {
    for (std::byte& byte : picture->values) byte = static_cast<std::byte>(random() & 0xFF);
  }
}

void WriteValues(const std::string& path, int width, int height, int channels, const std::vector<std::uint8_t>& values,
                 bool straight) {
  FilePicture picture(width, height, channels, OIIO::TypeDesc::UINT8);
  std::copy(values.begin(), values.end(), picture.as<std::uint8_t>());
  if (channels == 4 && straight) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(path, picture);
}

void Write(const std::string& path, const FilePicture& picture) {
  const auto output = OIIO::ImageOutput::create(path);
  ASSERT_TRUE(output) << path;
  ASSERT_TRUE(output->open(path, picture.spec)) << output->geterror();
  // Some writers change the values they are given.
  std::vector<std::byte> values = picture.values;
  ASSERT_TRUE(output->write_image(picture.spec.format, values.data())) << output->geterror();
  ASSERT_TRUE(output->close()) << output->geterror();
}

FilePicture Read(const std::string& path) {
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  const auto input = OIIO::ImageInput::open(path, &config);
  FilePicture picture;
  if (!input) {
    ADD_FAILURE() << path << ": " << OIIO::geterror();
    picture.values.resize(64);  // so that a test can go on to its other expectations
    return picture;
  }
  picture.spec = input->spec();
  picture.values.resize(static_cast<std::size_t>(picture.spec.image_bytes()));
  EXPECT_TRUE(input->read_image(0, 0, 0, picture.spec.nchannels, picture.spec.format, picture.values.data()))
      << input->geterror();
  return picture;
}

std::string Slurp(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace pftest
