// The profile calls of the contract.
#include <cstring>
#include <fstream>
#include <iterator>

#include "cor/Linearize.h"
#include "cor/Profile.h"
#include "file/KeyValueFile.h"

namespace pfhost {
namespace {

// The largest real profiles have a few megabytes.
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 28;

std::vector<std::uint8_t> ReadFile(const char* path) {
  const std::filesystem::path where = PathFromUtf8(path);
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(where, unknown);
  std::ifstream file(where, std::ios::binary);
  if (unknown || !file || size > kLargestFile) Fail(XCE_ERR_FILE);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (static_cast<std::uintmax_t>(file.gcount()) != size) Fail(XCE_ERR_FILE);
  return bytes;
}

}  // namespace
}  // namespace pfhost

U_Err COR_GetStandardProfile(XCE_ProfileCode code, COR_XCE_ProfileRef* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::StandardProfile(code); });
}

U_Err COR_GetDefaultWorkingProfile(COR_XCE_ProfileRef* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall(
      [&] { *out = boost::const_pointer_cast<COR_XCE_Profile>(pfhost::OrDefault(nullptr).shared_from_this()); });
}

U_Err COR_NewProfileFromICC(const void* bytes, std::uint64_t size, COR_XCE_ProfileRef* out) {
  if ((bytes == nullptr && size > 0) || out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] {
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    *out = pfhost::NewProfile(std::vector<std::uint8_t>(first, first + size));
  });
}

U_Err COR_NewProfileFromFile(const char* path, COR_XCE_ProfileRef* out) {
  if (path == nullptr || out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::NewProfile(pfhost::ReadFile(path)); });
}

U_Err COR_GetProfileICC(const COR_XCE_Profile* profile, void* buffer, std::uint64_t capacity, std::uint64_t* size) {
  if (size == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] {
    const std::vector<std::uint8_t>& icc = pfhost::OrDefault(profile).icc;
    *size = icc.size();
    if (buffer != nullptr && capacity >= icc.size()) std::memcpy(buffer, icc.data(), icc.size());
  });
}

U_Err COR_LinearizeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileRef* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::Linearized(pfhost::OrDefault(profile)); });
}

U_Err COR_DescribeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileInfo* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::OrDefault(profile).info; });
}
