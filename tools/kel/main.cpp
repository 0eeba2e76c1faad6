// kel: the library's command-line tool.
//
//   kel demo          a short tour of the library
//   kel help          the list of subcommands
//   kel --version     the versions of the tool and of the library

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

int usage(FILE* out) {
    std::fprintf(out, "usage: kel <command> [arguments]\n\ncommands:\n");
    std::vector<const Command*> sorted = commands();
    std::sort(sorted.begin(), sorted.end(),
              [](const Command* a, const Command* b) { return std::strcmp(a->name, b->name) < 0; });
    for (const Command* c : sorted)
        std::fprintf(out, "  %-10s %s\n", c->name, c->summary);
    return out == stdout ? 0 : 2;
}

int runHelp(const std::vector<std::string>&) {
    return usage(stdout);
}

const Command helpCommand("help", "show this list", runHelp);

}  // namespace

Command::Command(const char* name_, const char* summary_, CommandFunction run_)
    : name(name_), summary(summary_), run(run_) {
    commandList().push_back(this);
}

const std::vector<const Command*>& commands() {
    return commandList();
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
        return kel::tool::usage(stderr);
    const std::string name = argv[1];
    if (name == "-h" || name == "--help")
        return kel::tool::usage(stdout);
    if (name == "--version") {
        std::printf("kel %s (library %s)\n", KEL_VERSION_STRING, kelGetVersion());
        return 0;
    }
    for (const kel::tool::Command* c : kel::tool::commands()) {
        if (name == c->name)
            return c->run(std::vector<std::string>(argv + 2, argv + argc));
    }
    std::fprintf(stderr, "kel: unknown command '%s' (try 'kel help')\n", name.c_str());
    return 2;
}
