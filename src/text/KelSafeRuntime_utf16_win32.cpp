// The 16-bit (6) forms of the bounded runtime routines on Windows, where
// wchar_t is 16 bits: each is the 8 form's entry point exported under a
// second name (see kel_utf16_aliases.def), so there is no code here.

#include <kel/KelSafeRuntime.h>
