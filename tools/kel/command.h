// The kel tool's subcommands and the sections of its demonstration.
//
// Each subcommand registers itself from its own file:
//
//   static kel::tool::Command reg("reg", "query and edit the configuration store", runReg);
//
// and each part of the library adds a section to "kel demo":
//
//   static kel::tool::DemoSection strings(10, "Strings", showStrings);

#ifndef KEL_TOOLS_KEL_COMMAND_H
#define KEL_TOOLS_KEL_COMMAND_H

#include <string>
#include <vector>

namespace kel::tool {

using CommandFunction = int (*)(const std::vector<std::string>& arguments);

struct Command {
    Command(const char* name, const char* summary, CommandFunction run);
    const char* name;
    const char* summary;
    CommandFunction run;
};

const std::vector<const Command*>& commands();

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

}  // namespace kel::tool

#endif  // KEL_TOOLS_KEL_COMMAND_H
