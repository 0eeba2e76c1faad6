#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/debug_output.h"
#include "platform/utf.h"

namespace kel::detail {

void systemDebugOutput(const wchar_t* text) {
    // There is no debugger channel on POSIX; the output is silent unless the
    // user asks for it on stderr.
    const char* wanted = std::getenv("KEL_DEBUG_OUTPUT");
    if (wanted == nullptr || std::strcmp(wanted, "1") != 0)
        return;
    std::string line = wideToUtf8(text);
    if (line.empty() || line.back() != '\n')
        line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace kel::detail
