// A module that writes one line for each thing that happens to it into the file named by
// PF_TEST_MODULE_LOG, and answers start-up with the number in PF_TEST_MODULE_ANSWER.
#include <cstdio>
#include <cstdlib>

#include "host/PLUG.h"

namespace {

void Write(const char* line) {
  const char* path = std::getenv("PF_TEST_MODULE_LOG");
  std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr;
  if (file == nullptr) return;
  std::fprintf(file, "%s\n", line);
  std::fclose(file);
}

struct Life {
  Life() { Write("loaded"); }
  ~Life() { Write("unloaded"); }
} life;

}  // namespace

extern "C" HOST_EXPORT std::int32_t VXX_Entry(std::int32_t selector, void*) {
  Write(selector == PLUG_SELECTOR_STARTUP ? "start-up" : selector == PLUG_SELECTOR_SHUTDOWN ? "shut-down" : "unknown");
  const char* answer = std::getenv("PF_TEST_MODULE_ANSWER");
  return selector == PLUG_SELECTOR_STARTUP && answer != nullptr ? std::atoi(answer) : 0;
}
