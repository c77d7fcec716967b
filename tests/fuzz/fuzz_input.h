#pragma once
// What the fuzz programs share.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

/// A fuzzer by its name. All are in one program: CORVANTA_FUZZER says which one runs.
struct Fuzzer {
    Fuzzer(char const *name, void (*check)(uint8_t const *data, size_t size));
};
#define FUZZ(name)                                                                                                   \
    static void name##Fuzz(uint8_t const *data, size_t size);                                                        \
    static Fuzzer const name##Fuzzer(#name, name##Fuzz);                                                             \
    static void name##Fuzz(uint8_t const *data, size_t size)

/// Ends the run when something that must hold does not.
inline void Require(bool holds) {
    if (!holds)
        abort();
}

/// Every field ends inside its width.
template <size_t... Widths> void RequireEnded(char const (&...fields)[Widths]) {
    (Require(memchr(fields, 0, Widths)), ...);
}

/// The input as a text up to its first NUL, in a block of exactly its size.
inline std::string TextOf(uint8_t const *data, size_t size) {
    std::string_view const all(reinterpret_cast<char const *>(data), size);
    std::string text(all.substr(0, all.find('\0')));
    text.shrink_to_fit();
    return text;
}

/// A directory in memory for the life of the program, with a slash.
inline std::string const &FuzzDirectory() {
    struct Directory {
        std::string path = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        Directory() {
            path += "/corvanta_fuzz_XXXXXX";
            Require(mkdtemp(path.data()));
            path += '/';
        }
        ~Directory() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static Directory const directory;
    return directory.path;
}
