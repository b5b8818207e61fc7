// The profile calls of the contract.
#include <cstring>
#include <fstream>
#include <iterator>

#include "cor/Linearize.h"
#include "cor/Profile.h"
#include "file/KeyValueFile.h"
#include "u/ThreadState.h"

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

const char* TextOf(U_Err status) {
  switch (status) {
    case XCE_ERR_BAD_PROFILE:
      return "a colour profile is damaged or contradicts itself";
    case XCE_ERR_NOT_RGB:
      return "a colour profile describes something else than RGB or grey";
    case XCE_ERR_UNKNOWN_CODE:
      return "there is no standard colour profile of that code";
    case XCE_ERR_NO_TRANSFORM:
      return "no colour transform can be made between the profiles; one may lack the tables for its direction";
    case XCE_ERR_FILE:
      return "a colour profile's file cannot be read";
    default:
      return "the colour engine was called with a wrong parameter";
  }
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

U_Err XCE_Error(U_Err status) {
  if (status == 0 || status == XCE_ERR_ABSENT) return status;
  if (status == 4) {
    pfhost::ReportOutOfMemory("colour conversion");
    return 4;
  }
  return pfhost::ReportText(pfhost::TextOf(status));
}
