// kel: the library's command-line tool.
//
//   kel demo              a short tour of the library
//   kel help [COMMAND]    the list of commands, or how to use one
//   kel COMMAND --help    how to use COMMAND (also -h, anywhere after COMMAND)
//   kel --version         the versions of the tool and of the library
//
// Help is answered here, for every command alike, from the usage each
// command registers; a command never sees --help or -h among its arguments,
// so none takes either as a value.

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <kel/KelVersion.h>

#include "command.h"

namespace kel::tool {

namespace {

std::vector<const Command*>& commandList() {
    static std::vector<const Command*> list;
    return list;
}

std::vector<const DemoSection*>& sectionList() {
    static std::vector<const DemoSection*> list;
    return list;
}

const Command* findCommand(const std::string& name) {
    for (const Command* c : commands()) {
        if (name == c->name)
            return c;
    }
    return nullptr;
}

bool isHelpOption(const std::string& argument) {
    return argument == "--help" || argument == "-h";
}

// The tool's own usage with the list of commands: on stdout when asked
// for, on stderr (exit code 2) when the command line names no command.
int toolUsage(FILE* out) {
    std::fprintf(out,
                 "usage: kel <command> [arguments]\n"
                 "       kel help <command>    how to use one command (or: kel <command> --help)\n"
                 "       kel --version         the versions of the tool and of the library\n"
                 "\n"
                 "commands:\n");
    std::vector<const Command*> sorted = commands();
    std::sort(sorted.begin(), sorted.end(),
              [](const Command* a, const Command* b) { return std::strcmp(a->name, b->name) < 0; });
    for (const Command* c : sorted)
        std::fprintf(out, "  %-10s %s\n", c->name, c->summary);
    return out == stdout ? 0 : 2;
}

int unknownCommand(const std::string& name) {
    std::fprintf(stderr, "kel: unknown command '%s' (try 'kel help')\n", name.c_str());
    return 2;
}

int showUsage(const Command& command) {
    std::fputs(command.usage, stdout);
    return 0;
}

constexpr char kHelpUsage[] =
    "usage: kel help [COMMAND]\n"
    "\n"
    "Without COMMAND: the list of commands. With COMMAND: how to use it, as\n"
    "\"kel COMMAND --help\" prints it.\n";

int runHelp(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        return toolUsage(stdout);
    if (arguments.size() > 1)
        return usageError(kHelpUsage);
    const Command* command = findCommand(arguments[0]);
    return command != nullptr ? showUsage(*command) : unknownCommand(arguments[0]);
}

const Command helpCommand("help", "the list of commands, or how to use one", kHelpUsage, runHelp);

}  // namespace

Command::Command(const char* name_, const char* summary_, const char* usage_, CommandFunction run_)
    : name(name_), summary(summary_), usage(usage_), run(run_) {
    commandList().push_back(this);
}

const std::vector<const Command*>& commands() {
    return commandList();
}

int usageError(const char* usage) {
    std::fflush(stdout);
    std::fputs(usage, stderr);
    return 2;
}

DemoSection::DemoSection(int order_, const char* title_, void (*show_)())
    : order(order_), title(title_), show(show_) {
    auto& list = sectionList();
    list.push_back(this);
    std::stable_sort(list.begin(), list.end(), [](const DemoSection* a, const DemoSection* b) {
        return a->order < b->order;
    });
}

const std::vector<const DemoSection*>& demoSections() {
    return sectionList();
}

}  // namespace kel::tool

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    if (argc < 2)
        return kel::tool::toolUsage(stderr);
    const std::string name = argv[1];
    if (kel::tool::isHelpOption(name))
        return kel::tool::toolUsage(stdout);
    if (name == "--version") {
        std::printf("kel %s (library %s)\n", KEL_VERSION_STRING, kelGetVersion());
        return 0;
    }
    const kel::tool::Command* command = kel::tool::findCommand(name);
    if (command == nullptr)
        return kel::tool::unknownCommand(name);
    for (int i = 2; i < argc; ++i) {
        if (kel::tool::isHelpOption(argv[i]))
            return kel::tool::showUsage(*command);
    }
    return command->run(std::vector<std::string>(argv + 2, argv + argc));
}
