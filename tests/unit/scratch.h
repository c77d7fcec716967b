#pragma once
// A directory of a test's own, and whole files in and out.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class Scratch {
  public:
    Scratch() {
        std::string name = (std::filesystem::temp_directory_path() / "corvanta_XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no scratch directory");
        path_ = name + "/";
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Scratch(Scratch const &) = delete;
    Scratch &operator=(Scratch const &) = delete;

    /// The directory with a slash.
    std::string const &Path() const { return path_; }
    std::string operator/(std::string_view name) const { return path_ + std::string(name); }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (auto const &entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::string path_;
};

inline std::string ReadFile(std::string const &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(std::string const &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
