// Acceleration modules: the folder they are found in, and those that are known.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "host/PLUG.h"
#include "plug/DynamicLibrary.h"

// Lives while it is being scanned, prepared or registered.
struct PLUG_Routine {
  std::filesystem::path file;
  pfhost::DynamicLibrary library;
  bool scanned = false;
  bool registered = false;
};

namespace pfhost {

// All modules that are known. Used by the starting and the stopping thread only.
class Registry {
 public:
  PLUG_RoutineRef Add(const std::filesystem::path& file);
  bool Knows(PLUG_RoutineRef routine) const;
  // Forgets a module that nothing needs any more.
  void ReleaseIfUnused(PLUG_RoutineRef routine);
  void Clear() { routines_.clear(); }

  std::filesystem::path folder;  // empty = no modules

 private:
  std::vector<std::unique_ptr<PLUG_Routine>> routines_;
};

Registry& TheRegistry();

// \param folder to scan, or null for none; StopPlugIns unloads what has been left.
U_Err StartPlugIns(const char* folder) noexcept;
void StopPlugIns() noexcept;

}  // namespace pfhost
