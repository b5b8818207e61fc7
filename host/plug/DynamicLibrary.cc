#include "plug/DynamicLibrary.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace pfhost {

#if defined(_WIN32)

bool DynamicLibrary::Open(const std::filesystem::path& file, std::string* reason) {
  handle_ = LoadLibraryW(file.c_str());
  if (handle_ == nullptr) *reason = "system error " + std::to_string(GetLastError());
  return handle_ != nullptr;
}

void* DynamicLibrary::Find(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

void DynamicLibrary::Close() noexcept {
  if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
  handle_ = nullptr;
}

#else

bool DynamicLibrary::Open(const std::filesystem::path& file, std::string* reason) {
  handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ != nullptr) return true;
  const char* error = dlerror();
  *reason = error != nullptr ? error : "unknown reason";
  return false;
}

void* DynamicLibrary::Find(const char* name) const { return dlsym(handle_, name); }

void DynamicLibrary::Close() noexcept {
  if (handle_ != nullptr) dlclose(handle_);
  handle_ = nullptr;
}

#endif

}  // namespace pfhost
