// "kel demo": a short tour of the library, one section per subsystem.

#include <kel/Kel.h>

#include <cstdio>
#include <cstdlib>
#include <random>
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

void setVariable(const char* name, const std::string& value, bool set) {
#if defined(_WIN32)
    _putenv_s(name, set ? value.c_str() : "");
#else
    if (set)
        ::setenv(name, value.c_str(), 1);
    else
        ::unsetenv(name);
#endif
}

}  // namespace

DemoStoreFolder::DemoStoreFolder(const char* name) {
    const char* previous = std::getenv("KEL_REGISTRY_DIR");
    m_hadPrevious = previous != nullptr;
    if (m_hadPrevious)
        m_previous = previous;
    m_path = std::filesystem::temp_directory_path() /
             ("kel-demo-" + std::string(name) + "-" + std::to_string(std::random_device()()));
    std::filesystem::create_directories(m_path);
    setVariable("KEL_REGISTRY_DIR", m_path.string(), true);
}

DemoStoreFolder::~DemoStoreFolder() {
    setVariable("KEL_REGISTRY_DIR", m_previous, m_hadPrevious);
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
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
