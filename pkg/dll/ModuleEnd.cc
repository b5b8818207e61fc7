// What a DLL built by mingw-w64 owes when it is let go while the process goes on: its own copy of the compiler's
// runtime keeps the record of the thread that lets it go, and the memory reserved for exceptions.
#include <windows.h>

namespace __gnu_cxx {
void __freeres();
}
extern "C" const IMAGE_TLS_DIRECTORY _tls_used;

namespace {

HINSTANCE g_module = nullptr;
bool g_process_goes_on = false;

struct ModuleEnd {
  ~ModuleEnd() {
    if (!g_process_goes_on) return;
    // As if the thread ended: later the module will not be there to be told.
    const auto* callback = reinterpret_cast<const PIMAGE_TLS_CALLBACK*>(_tls_used.AddressOfCallBacks);
    for (; *callback != nullptr; ++callback) (*callback)(g_module, DLL_THREAD_DETACH, nullptr);
    __gnu_cxx::__freeres();
  }
};

// Made first, so that it goes last.
__attribute__((init_priority(101))) ModuleEnd g_end;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID process_ends) {
  g_module = module;
  g_process_goes_on = reason == DLL_PROCESS_DETACH && process_ends == nullptr;
  return TRUE;
}
