#pragma once
// The settings file: $XDG_CONFIG_HOME/corvanta/settings.toml (default ~/.config), TOML 1.0. Read once at the start;
// the main thread changes it from Preferences.

#include <memory>
#include <string>
#include <string_view>

/// $XDG_CONFIG_HOME/corvanta/ and $XDG_STATE_HOME/corvanta/ with the slash; ~/.config and ~/.local/state without an
/// absolute path in the variable. Empty without a password entry.
std::string SettingsDirectory();
std::string StateDirectory();

/// The key that says whether the way of working is the classic one.
constexpr char kClassicKey[] = "classic";

class Settings {
  public:
    /// The values of the file at `path`. A file that is missing has none; one that is no TOML has none either, is
    /// left alone by Save, and Problem says what is wrong with it.
    explicit Settings(std::string path);
    ~Settings();
    Settings(Settings &&) noexcept;
    Settings &operator=(Settings &&) noexcept;

    bool Exists() const { return exists_; }
    std::string const &Problem() const { return problem_; } ///< for the user; empty for none

    /// The value of a key ("receiving.notify": a table and a key in it), `otherwise` when it is missing or of another
    /// type.
    bool Bool(std::string_view key, bool otherwise) const;
    std::string Text(std::string_view key, std::string_view otherwise) const;

    void Set(std::string_view key, bool value);
    void Set(std::string_view key, std::string_view value);

    /// Writes the file by way of a new one beside it (mode 0600), with the keys that this version does not know; its
    /// directory is made. Comments are not kept. False, with errno telling why, when that failed, and with EINVAL for
    /// a file with a problem.
    bool Save();

  private:
    struct Table;
    template <class Value> void SetValue(std::string_view key, Value value);

    std::string path_, problem_;
    bool exists_ = false;
    std::unique_ptr<Table> table_;
};

/// The program's settings, read at the first call. Main thread.
Settings &ProgramSettings();
