#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kel::test {

bool runningUnderWine() {
#if defined(_WIN32)
    // Wine's ntdll exports its own version query; Windows' does not.
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
    return false;
#endif
}

}  // namespace kel::test
