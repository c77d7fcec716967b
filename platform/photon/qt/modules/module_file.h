#pragma once
// What can be told of a module from its file alone, on any thread.

#include <QString>

#include <map>
#include <string>
#include <vector>

struct ModuleFile {
    std::vector<std::string> names;          ///< of its widgets and actions
    std::map<std::string, QString> pictures; ///< widget or action name to the resource path of its picture or icon
};

/// The resource that holds a module.
QString ModulePath(std::string const &module);

/// Reads the file of a module. Empty when there is none.
ModuleFile ReadModuleFile(std::string const &module);
