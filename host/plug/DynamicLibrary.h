// The seam to the system's loader.
#pragma once

#include <filesystem>
#include <string>

namespace pfhost {

// A loaded module; unloaded when the object goes.
class DynamicLibrary {
 public:
  DynamicLibrary() = default;
  ~DynamicLibrary() { Close(); }
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  // False, with the loader's reason in `reason`, when the file cannot be loaded.
  bool Open(const std::filesystem::path& file, std::string* reason);
  // The address of an exported function, or null.
  void* Find(const char* name) const;
  bool IsOpen() const { return handle_ != nullptr; }
  void Close() noexcept;

 private:
  void* handle_ = nullptr;
};

}  // namespace pfhost
