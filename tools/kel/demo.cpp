// "kel demo": a short tour of the library, one section per subsystem.

#include <kel/Kel.h>

#include <cstdio>
#include <string>

#include "command.h"

namespace kel::tool {

void heading(const char* title) {
    std::printf("\n== %s ==\n\n", title);
}

void line(const std::string& text) {
    std::printf("%s\n", text.c_str());
}

void line(const std::wstring& text) {
    line(std::string(KelString(text.c_str()).getStringA()));
}

namespace {

constexpr char kUsage[] =
    "usage: kel demo\n"
    "\n"
    "A short tour of the library: one section per part, each printing what the\n"
    "library returns for a few typical calls.\n";

int runDemo(const std::vector<std::string>& arguments) {
    if (!arguments.empty())
        return usageError(kUsage);
    std::printf("kel - a tour of the library\n");
    for (const DemoSection* section : demoSections()) {
        heading(section->title);
        section->show();
    }
    std::printf("\nDone.\n");
    return 0;
}

const Command demoCommand("demo", "a short tour of the library", kUsage, runDemo);

}  // namespace

}  // namespace kel::tool
