// A temporary folder, the program as a child process, and small pictures written and read as raw file values.
#ifndef TESTS_UNIT_TOOL_SUPPORT_H
#define TESTS_UNIT_TOOL_SUPPORT_H

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace pftest {

/// What a run of the program left behind.
struct Outcome {
  int status = -1;  ///< exit code, or minus the signal that killed it
  std::string out, err;
};

/// A folder that is removed with everything in it.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  const std::filesystem::path& path() const { return path_; }
  /// Names of everything in the folder, hidden files too.
  std::set<std::string> Names() const;

 private:
  std::filesystem::path path_;
};

/// The program as a child with the folder as its working folder and as its folder for temporary files.
class Child {
 public:
  /// \param input file for standard input, or empty \param memory_limit bytes of address space, 0 = none
  Child(const Folder& folder, std::vector<std::string> arguments, const std::string& input = "",
        std::uint64_t memory_limit = 0);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child();
  void Signal(int number) const;
  /// Waits until `text` has been printed on stderr, at most 60 seconds. \return whether it came.
  bool WaitForError(const std::string& text) const;
  Outcome Wait();

 private:
  pid_t process_ = -1;
  Folder log_;
};

/// Runs the program to its end.
Outcome RunPf(const Folder& folder, std::vector<std::string> arguments, const std::string& input = "",
              std::uint64_t memory_limit = 0);

/// A picture as it is in a file: interleaved values of one type, and the spec that it is written with.
struct FilePicture {
  OIIO::ImageSpec spec;
  std::vector<std::byte> values;

  FilePicture() = default;
  FilePicture(int width, int height, int channels, OIIO::TypeDesc type);
  template <class T>
  T* as() {
    return reinterpret_cast<T*>(values.data());
  }
  template <class T>
  const T* as() const {
    return reinterpret_cast<const T*>(values.data());
  }
  std::size_t count() const { return values.size() / spec.format.size(); }
};

/// Values from a fixed sequence, over the type's whole range; float types 0..1 with a few beyond.
void FillRandom(FilePicture* picture, std::uint32_t seed);
void Write(const std::string& path, const FilePicture& picture);
/// 8-bit values; four channels have straight alpha or premultiplied colour.
void WriteValues(const std::string& path, int width, int height, int channels, const std::vector<std::uint8_t>& values,
                 bool straight = true);
/// Reads the values as the file stores them: no conversion of type or alpha.
FilePicture Read(const std::string& path);
/// The same as bare values of the type that the file is expected to have.
template <class T>
std::vector<T> ValuesOf(const std::string& path) {
  const FilePicture picture = Read(path);
  EXPECT_EQ(picture.spec.format.size(), sizeof(T)) << path;
  return {picture.as<T>(), picture.as<T>() + picture.count()};
}

std::string Slurp(const std::string& path);

}  // namespace pftest

#endif
