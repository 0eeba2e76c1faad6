// The kel tool's subcommands and the sections of its demonstration.
//
// Each subcommand registers itself from its own file, with its usage:
//
//   constexpr char kUsage[] = "usage: kel reg query <key> ...\n";
//   static kel::tool::Command reg("reg", "query and edit the configuration store", kUsage, runReg);
//
// main.cpp answers "kel help reg", "kel reg --help" and "kel reg -h" (the
// option anywhere after the command's name) from that text, on stdout with
// exit code 0, before the command runs; a command
// given arguments it cannot take returns usageError(kUsage): the usage on
// stderr and exit code 2.
//
// Each part of the library adds a section to "kel demo":
//
//   static kel::tool::DemoSection strings(10, "Strings", showStrings);

#ifndef KEL_TOOLS_KEL_COMMAND_H
#define KEL_TOOLS_KEL_COMMAND_H

#include <filesystem>
#include <string>
#include <vector>

namespace kel::tool {

// Runs the command with the arguments after its name; returns the exit
// code: 0 success, 1 failure (one line on stderr naming what failed and
// why), 2 arguments the command cannot take.
using CommandFunction = int (*)(const std::vector<std::string>& arguments);

struct Command {
    Command(const char* name, const char* summary, const char* usage, CommandFunction run);
    const char* name;
    // One line for the list of "kel help".
    const char* summary;
    // The synopsis ("usage: kel zip PATH [ARCHIVE] [--flat]") and what the
    // arguments mean, each line ending in "\n".
    const char* usage;
    CommandFunction run;
};

const std::vector<const Command*>& commands();

// Prints `usage` on stderr and returns 2, the exit code of a command line
// the command cannot take.
int usageError(const char* usage);

// A section of the demonstration: `order` places it, `show` prints it.
struct DemoSection {
    DemoSection(int order, const char* title, void (*show)());
    int order;
    const char* title;
    void (*show)();
};

const std::vector<const DemoSection*>& demoSections();

// Output helpers shared by the demonstration sections.
void heading(const char* title);
void line(const std::string& text);
void line(const std::wstring& text);

// A temporary folder "kel-demo-<name>-<number>" that is the configuration
// store's folder (KEL_REGISTRY_DIR) while the object lives, so that a
// section's values never touch the user's own store. Afterwards the
// variable is put back as it was and the folder removed with its files.
class DemoStoreFolder {
public:
    explicit DemoStoreFolder(const char* name);
    ~DemoStoreFolder();
    DemoStoreFolder(const DemoStoreFolder&) = delete;
    DemoStoreFolder& operator=(const DemoStoreFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
    std::string m_previous;
    bool m_hadPrevious;
};

}  // namespace kel::tool

#endif  // KEL_TOOLS_KEL_COMMAND_H
