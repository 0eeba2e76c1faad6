#include <kel/KelVersion.h>

const char* kelGetVersion() {
    // Compiled into the library, so it names the build that is loaded, not
    // the headers a program was compiled with.
    return KEL_VERSION_STRING;
}
