// Start of the runtime: standard options and the check of the link tables.

#include "ap/runtime.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>

namespace {

struct Options {
    std::string x, y, w, h;
    char state = 0;
};

void Take(Options &options, char letter, char const *value) {
    switch (letter) {
    case 'x':
        options.x = value;
        break;
    case 'y':
        options.y = value;
        break;
    case 'w':
        options.w = value;
        break;
    case 'h':
        options.h = value;
        break;
    case 'S':
        options.state = value[0];
        break;
    default:
        break; // -s: there is one display
    }
}

/// Picks the standard options out of the arguments; the program's own letters are passed over (its scan takes them,
/// and its scan passes over these).
Options Scan(int argc, char *const *argv) {
    constexpr std::string_view kWithValue = "xywhSs";
    Options options;
    for (int i = 1; i < argc; i++) {
        std::string_view const argument = argv[i];
        if (argument == "--")
            break;
        if (argument.size() < 2 || argument[0] != '-' || argument[1] == '-')
            continue;
        size_t const at = argument.find_first_of(kWithValue, 1);
        if (at == std::string_view::npos)
            continue;
        if (at + 1 < argument.size())
            Take(options, argument[at], argv[i] + at + 1);
        else if (i + 1 < argc)
            Take(options, argument[at], argv[++i]);
    }
    return options;
}

bool Refuse(char const *module, char const *what, char const *name) {
    fprintf(stderr, "%s: module '%s': %s '%s'\n", program_invocation_short_name, module, what, name);
    return false;
}

/// A table that names what its module does not have would leave a button without its function.
bool Check(ApLinkTable_t const &table) {
    std::vector<std::string> const names = PtTheDisplay()->ModuleNames(table.module);
    if (names.empty())
        return Refuse(table.module, "there is no module", table.module);
    for (ApLink_t const *link = table.links; link != table.links + table.count; link++) {
        if (!link->widget || std::find(names.begin(), names.end(), link->widget) == names.end())
            return Refuse(table.module, "there is no widget", link->widget ? link->widget : "");
        if (link->kind == ApLinkCode && !link->function)
            return Refuse(table.module, "no function is linked to", link->widget);
        if (link->kind == ApLinkModule && !link->module)
            return Refuse(table.module, "no module is linked to", link->widget);
        if (link->kind == ApLinkModule && PtTheDisplay()->ModuleNames(link->module->module).empty())
            return Refuse(table.module, "there is no module", link->module->module);
    }
    return true;
}

} // namespace

int ApInitialize(int argc, char **argv, ApContext_t *context) {
    if (!context || PtInit(nullptr) != 0 || !PtTheDisplay())
        return -1;
    ApSetContext(context);
    Options const options = Scan(argc, argv);
    PtTheDisplay()->SetStandardOptions(options.x, options.y, options.w, options.h, options.state);
    bool const good = std::all_of(context->link_tables, context->link_tables + context->link_table_count, Check);
    return good ? 0 : -1;
}
