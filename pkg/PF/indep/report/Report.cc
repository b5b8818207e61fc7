#include "report/Report.h"

#include "host/COR.h"
#include "host/U.h"

PF_Error::~PF_Error() = default;

const char* PF_Error::what() const noexcept { return "image processing failed; the code tells why"; }

namespace pf {

PF_Err FailVerification(const char* text, Site site, std::int32_t line) {
  U_ReportFailedVerification(Identifier(site), line, 0, text);
  return PF_Err_REPORTED;
}

void ThrowVerification(const char* text, Site site, std::int32_t line) {
  throw PF_Error(FailVerification(text, site, line));
}

bool ReportCaller(Site site, Message message) {
  const char* text = LookUp(message);
  if (text == nullptr) return false;
  Up_ReportErrString(Identifier(site), 8, text);
  return true;
}

PF_Err FailCaller(Site site, Message message) {
  if (!ReportCaller(site, message)) FailVerification("bad parameter, and no text for it", site);
  return PF_Err_REPORTED;
}

PF_Err ReportText(Site site, const char* text) {
  const PF_Err answer = Up_ReportErrString(Identifier(site), 8, text);
  return answer != PF_Err_NONE ? answer : PF_Err_REPORTED;
}

void ThrowText(Site site, const char* text) { throw PF_Error(ReportText(site, text)); }

void ThrowCode(PF_Err code) { throw PF_Error(code); }

void ThrowEngineFailure(std::int32_t status) {
  if (status == XCE_ERR_ABSENT) throw PF_Error(status);
  const PF_Err answer = XCE_Error(status);
  throw PF_Error(answer != PF_Err_NONE ? answer : PF_Err_REPORTED);
}

void ThrowOutOfMemory() { throw PF_Error(PF_Err_OUT_OF_MEMORY); }

}  // namespace pf
