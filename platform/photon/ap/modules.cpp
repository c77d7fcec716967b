// Opening modules: widgets from the file, links, setup function, place, realizing.

#include "ap/runtime.h"
#include "core/lock.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <unordered_map>

namespace {

struct Runtime {
    ApContext_t *context = nullptr;
    std::unordered_map<std::string, int> numbers;            ///< widget numbers by name
    std::unordered_map<PtWidget_t *, std::string> instances; ///< live module roots and their modules
    std::vector<PtWidget_t *> windows;                       ///< roots of window modules, the first is the base
};

Runtime &The() {
    static auto *const runtime = std::make_unique<Runtime>().release(); // workers may outlive main
    return *runtime;
}

/// A destroyed widget leaves the table of widgets and the list of instances.
void Forget(PtWidget_t &widget) {
    Runtime &runtime = The();
    if (runtime.context && widget.number > 0 && runtime.context->widgets[widget.number] == &widget)
        runtime.context->widgets[widget.number] = nullptr;
    if (widget.module_root) {
        runtime.instances.erase(&widget);
        std::erase(runtime.windows, &widget);
    }
}

/// The root of the module that a widget belongs to, null when it is being destroyed.
PtWidget_t *InstanceAround(PtWidget_t *widget) {
    while (widget && !widget->module_root)
        widget = widget->parent;
    return widget && !(widget->flags & Pt_DESTROYED) ? widget : nullptr;
}

/// Callback of every link. `data` is the link.
int Follow(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo) {
    auto const *link = static_cast<ApLink_t const *>(data);
    ApInfo_t info{widget, link->kind == ApLinkDone ? ABR_DONE : link->kind == ApLinkCancel ? ABR_CANCEL : ABR_CODE};
    int const answer = link->function ? link->function(widget, &info, cbinfo) : int{Pt_CONTINUE};
    if (link->kind == ApLinkModule)
        ApCreateModule(link->module, widget, cbinfo);
    else if (link->kind == ApLinkDone || link->kind == ApLinkCancel)
        PtDestroyWidget(InstanceAround(widget)); // null when the function has closed it
    return answer;
}

void AttachLinks(std::string const &module, std::vector<PtWidget_t *> const &widgets) {
    ApContext_t const *context = The().context;
    for (int t = 0; context && t < context->link_table_count; t++) {
        ApLinkTable_t const &table = context->link_tables[t];
        if (table.module != module)
            continue;
        for (int i = 0; i < table.count; i++)
            for (PtWidget_t *widget : widgets)
                if (widget->name == table.links[i].widget)
                    PtAddCallback(widget, table.links[i].callback, Follow, const_cast<ApLink_t *>(&table.links[i]));
    }
}

/// Creates the widgets of a loaded module, null when it has none. New modules belong to the base window.
std::vector<PtWidget_t *> Build(PtModuleInstance const &instance) {
    Runtime &runtime = The();
    PtWidget_t *const base = runtime.windows.empty() ? nullptr : runtime.windows.front();
    std::vector<PtWidget_t *> widgets;
    for (PtModuleWidget const &from : instance.widgets) {
        PtWidget_t *parent = from.parent < 0 ? base : widgets[static_cast<size_t>(from.parent)];
        PtWidget_t *widget = PtNewWidget(from.widget_class, parent, from.name);
        if (!widget)
            break;
        ApApply(*widget, from);
        if (widget->number > 0)
            runtime.context->widgets[widget->number] = widget;
        widgets.push_back(widget);
    }
    return widgets;
}

/// The only instance of a module, when it is open.
PtWidget_t *InstanceOf(std::string const &module) {
    for (auto const &[root, name] : The().instances)
        if (name == module)
            return root;
    return nullptr;
}

PhEvent_t *PointerEvent(PtCallbackInfo_t const *cbinfo) {
    PhEvent_t *event = cbinfo ? cbinfo->event : nullptr;
    return event && (event->type & (Ph_EV_BUT_PRESS | Ph_EV_BUT_RELEASE)) ? event : nullptr;
}

/// Loads a module and makes its widgets, views and links; its root, or null.
PtWidget_t *Load(ApEventLink_t const &link) {
    PtModuleInstance instance;
    if (!PtTheDisplay()->LoadModule(link.module, instance) || instance.widgets.empty())
        return nullptr;
    PtSetDestroyHook(Forget);
    std::vector<PtWidget_t *> const widgets = Build(instance);
    if (widgets.size() != instance.widgets.size()) {
        PtTheDisplay()->DropModule(instance);
        if (!widgets.empty())
            PtDestroyWidget(widgets.front());
        return nullptr;
    }
    PtWidget_t *root = widgets.front();
    root->module_root = true;
    The().instances[root] = link.module;
    if (link.kind == ApWindow)
        The().windows.push_back(root);
    PtTheDisplay()->BindModule(instance, widgets);
    for (PtWidget_t *widget : widgets)
        PtMarkDirty(*widget, kDirtyResources | kDirtyFlags);
    AttachLinks(link.module, widgets);
    PtSetParentWidget(root);
    return root;
}

} // namespace

ApContext_t *ApContext() { return The().context; }

void ApSetContext(ApContext_t *context) {
    Runtime &runtime = The();
    runtime.context = context;
    runtime.numbers.clear();
    for (int number = 1; number < context->widget_count; number++)
        if (context->widget_names[number])
            runtime.numbers[context->widget_names[number]] = number;
}

int ApNumberOf(std::string const &name) {
    auto const found = The().numbers.find(name);
    return found == The().numbers.end() ? 0 : found->second;
}

void ApApply(PtWidget_t &widget, PtModuleWidget const &from) {
    widget.number = ApNumberOf(from.name);
    widget.flags |= from.flags;
    for (PtAction const &resource : from.initial) {
        PtResourceDef const *definition = PtFindResource(from.widget_class, resource.resource);
        if (!definition)
            continue;
        if (definition->type == PtType::String || definition->type == PtType::ActionText) {
            PtSetResource(&widget, resource.resource, resource.text.c_str(), 0);
        } else if (definition->type == PtType::StringArray) {
            std::vector<char const *> items;
            std::vector<std::string> lines;
            std::istringstream text(resource.text);
            for (std::string line; std::getline(text, line);)
                lines.push_back(line);
            for (std::string const &line : lines)
                items.push_back(line.c_str());
            PtSetResource(&widget, resource.resource, items.data(), items.size());
        } else {
            PtSetResource(&widget, resource.resource, resource.value, resource.len);
        }
    }
}

PtWidget_t *ApCreateModule(ApEventLink_t const *link, PtWidget_t *widget, PtCallbackInfo_t *cbinfo) {
    if (!link || link->kind == ApPicture || !PtTheDisplay() || !PtOnGuiThread())
        return nullptr;
    PtWidget_t *open = link->kind == ApWindow ? nullptr : InstanceOf(link->module);
    if (open && link->kind == ApDialog) {
        PtRealizeWidget(open);
        PtWindowToFront(open);
        return open;
    }
    if (open) // a menu that has been used
        PtDestroyWidget(open);
    PtWidget_t *root = Load(*link);
    if (!root)
        return nullptr;
    root->callbacks_running++; // the setup function and the callbacks of realizing may destroy it
    ApInfo_t info{widget, ABR_PRE_REALIZE};
    bool const wanted = !link->setup || link->setup(root, &info, cbinfo) == Pt_CONTINUE;
    if (!wanted) {
        PtDestroyWidget(root);
    } else if (!(root->flags & Pt_DESTROYED)) {
        if (link->kind == ApMenu)
            PtPositionMenu(root, PointerEvent(cbinfo));
        else
            PtTheDisplay()->PlaceWindow(*root, link->location, link->x_offset, link->y_offset, widget);
        PtRealizeWidget(root);
    }
    root->callbacks_running--;
    return root->flags & Pt_DESTROYED ? nullptr : root;
}

PtWidget_t *ApLinkWindow(PtWidget_t *widget, ApEventLink_t const *link, PtCallbackInfo_t *cbinfo) {
    return ApCreateModule(link, widget, cbinfo);
}

int ApModuleLocation(ApEventLink_t *link, unsigned short location, short x_offset, short y_offset) {
    if (!link)
        return -1;
    link->location = location;
    link->x_offset = x_offset;
    link->y_offset = y_offset;
    return 0;
}
