// Scanning a folder for modules. This host scans once, at the library's start, and never takes a module
// away later, so it has no use for the unload handler.
#include <algorithm>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "plug/Registry.h"
#include "u/ThreadState.h"

namespace pfhost {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kScanNow = 2;

std::string FourCharacters(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>((code >> shift) & 0xFFu);
  return text;
}

// In order of their names, so that every start meets them in the same order.
std::vector<fs::path> FindModules(const fs::path& folder, const std::string& extension) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == extension) files.push_back(fs::absolute(entry.path()));
  }
  std::sort(files.begin(), files.end());
  return files;
}

void OfferModule(const fs::path& file, PLUG_LoadHandler load, void* reference) {
  PLUG_RoutineRef routine = TheRegistry().Add(file);
  if (load(routine, reference) != 0) {
    routine->registered = false;
    routine->library.Close();
  }
  routine->scanned = false;
  TheRegistry().ReleaseIfUnused(routine);
}

U_Err Scan(const PLUG_ScanDescriptor& descriptor, PLUG_LoadHandler load, void* reference) {
  const fs::path& folder = TheRegistry().folder;
  if (folder.empty()) return 0;
  for (const fs::path& file : FindModules(folder, FourCharacters(descriptor.file_extension))) {
    OfferModule(file, load, reference);
  }
  return 0;
}

}  // namespace
}  // namespace pfhost

U_Err PLUG_InstallScan(std::int32_t, std::int32_t scan_kind, const PLUG_ScanDescriptor* descriptor,
                       PLUG_LoadHandler load, PLUG_UnloadHandler, void* reference) {
  if (descriptor == nullptr || load == nullptr || scan_kind != pfhost::kScanNow) {
    return pfhost::ReportVerification("a scan needs a descriptor, a load handler and kind 2");
  }
  try {
    return pfhost::Scan(*descriptor, load, reference);
  } catch (const std::filesystem::filesystem_error& error) {
    return pfhost::ReportText(std::string("plug-in folder: ") + error.what());
  } catch (const std::exception&) {
    pfhost::ReportOutOfMemory("plug-in scan");
    return 4;
  }
}

// Its services are plain functions here; there is no other suite to hand out.
struct PLUG_BasicSuite {};

const PLUG_BasicSuite* PLUG_GetSPBasicSuite() {
  static constexpr PLUG_BasicSuite kSuite;
  return &kSuite;
}
