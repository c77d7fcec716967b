#include "base/settings.h"

#include "base/fd.h"
#include "base/paths.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#define TOML_HEADER_ONLY 1
#include <toml++/toml.h>

namespace {

constexpr size_t kLargestFile = 1 << 20;

std::string Directory(char const *variable, char const *otherwise) {
    char const *const base = getenv(variable);
    if (base && base[0] == '/') // XDG base directories: a relative path is ignored
        return std::string(base) + "/corvanta/";
    std::optional<std::string> const home = HomeDirectory();
    return home ? *home + otherwise + "/corvanta/" : "";
}

} // namespace

std::string SettingsDirectory() { return Directory("XDG_CONFIG_HOME", "/.config"); }
std::string StateDirectory() { return Directory("XDG_STATE_HOME", "/.local/state"); }

struct Settings::Table {
    toml::table values;
};

Settings::Settings(std::string path) : path_(std::move(path)), table_(std::make_unique<Table>()) {
    if (!path_.starts_with('/')) // a user without a home has none
        return;
    errno = 0;
    std::optional<std::string> const text = ReadRegularFile(path_, kLargestFile);
    exists_ = text || errno != ENOENT;
    if (!text) {
        if (exists_)
            problem_ = "The settings in " + path_ + " cannot be read: " + strerror(errno);
        return;
    }
    try {
        table_->values = toml::parse(*text, path_);
    } catch (toml::parse_error const &error) {
        problem_ = "The settings in " + path_ + " are left alone: line " + std::to_string(error.source().begin.line) +
                   ": " + std::string(error.description());
    }
}

Settings::~Settings() = default;
Settings::Settings(Settings &&) noexcept = default;
Settings &Settings::operator=(Settings &&) noexcept = default;

bool Settings::Bool(std::string_view key, bool otherwise) const {
    return table_->values.at_path(key).value<bool>().value_or(otherwise);
}

std::string Settings::Text(std::string_view key, std::string_view otherwise) const {
    return table_->values.at_path(key).value<std::string>().value_or(std::string(otherwise));
}

template <class Value> void Settings::SetValue(std::string_view key, Value value) {
    toml::table *table = &table_->values;
    for (size_t dot; (dot = key.find('.')) != key.npos; key.remove_prefix(dot + 1)) {
        std::string_view const name = key.substr(0, dot);
        if (!table->get_as<toml::table>(name))
            table->insert_or_assign(name, toml::table());
        table = table->get_as<toml::table>(name);
    }
    table->insert_or_assign(key, std::move(value));
}

void Settings::Set(std::string_view key, bool value) { SetValue(key, value); }
void Settings::Set(std::string_view key, std::string_view value) { SetValue(key, std::string(value)); }

bool Settings::Save() {
    if (!problem_.empty() || !path_.starts_with('/')) {
        errno = EINVAL;
        return false;
    }
    std::ostringstream text;
    text << table_->values << '\n';
    MakeDirectories(path_);
    exists_ = ReplaceFile(path_, path_ + ".new", text.str());
    return exists_;
}

Settings &ProgramSettings() {
    static Settings settings(SettingsDirectory() + "settings.toml");
    return settings;
}
