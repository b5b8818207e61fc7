// Tells the user what an engine's status means.
#include "host/COR.h"
#include "u/ThreadState.h"

namespace pfhost {
namespace {

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

U_Err XCE_Error(U_Err status) {
  if (status == 0 || status == XCE_ERR_ABSENT) return status;
  if (status == 4) {
    pfhost::ReportOutOfMemory("colour conversion");
    return 4;
  }
  return pfhost::ReportText(pfhost::TextOf(status));
}
