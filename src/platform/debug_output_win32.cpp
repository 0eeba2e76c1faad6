#include <windows.h>

#include <cstdio>
#include <string>

#include "platform/debug_output.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

// Read from the process environment rather than the C runtime's copy, which
// a statically linked runtime keeps apart from the host's.
bool stderrWanted() {
    wchar_t value[4] = {};
    const DWORD n = ::GetEnvironmentVariableW(L"KEL_DEBUG_OUTPUT", value, 4);
    return n == 1 && value[0] == L'1';
}

}  // namespace

void systemDebugOutput(const wchar_t* text) {
    ::OutputDebugStringW(text);
    if (!stderrWanted())
        return;
    // The same bytes as on every other system: UTF-8, one line per call.
    std::string line = wideToUtf8(text);
    if (line.empty() || line.back() != '\n')
        line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

}  // namespace kel::detail
