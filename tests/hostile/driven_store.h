#pragma once
// The store driver, run, and what it leaves in a folder.

#include "base/text.h"
#include "fixtures/process.h"
#include "store/folder.h"
#include "unit/scratch.h"

#include <gtest/gtest.h>

#include <map>

/// The message files of a folder, by number.
inline std::map<int32_t, std::string> StoredTexts(std::string const &inbox) {
    std::map<int32_t, std::string> texts;
    for (auto const &entry : std::filesystem::directory_iterator(inbox))
        if (int32_t const number = DecimalPrefix(entry.path().filename().string()); number > 0)
            texts[number] = ReadFile(entry.path());
    return texts;
}

/// The rows that a folder lists, by number.
inline std::map<int32_t, std::string> StoredRows(std::string const &inbox) {
    std::map<int32_t, std::string> rows;
    EXPECT_TRUE(ReadFolderIndex(inbox.c_str(), [&](IndexRecord const &record) {
        EXPECT_GT(record.number, 0);
        EXPECT_TRUE(rows.emplace(record.number, FieldText(record.row, kRowWidth)).second)
            << record.number << " comes twice";
    }));
    return rows;
}

struct DriverRun {
    int exitCode;       ///< -1 when it was killed
    std::string result; ///< what the operation returned; empty when it was killed
};

/// Runs an operation of the driver in a home directory; the words of `tracer` stand before its command.
inline DriverRun RunDriver(std::string const &operation, Scratch const &home, std::string const &server,
                           std::vector<std::string> tracer = {}) {
    // What the operation says on standard error is not looked at here.
    for (std::string const &word :
         {std::string("sh"), std::string("-c"), std::string("exec \"$@\" 2>/dev/null"), std::string("sh"),
          std::string(CORVANTA_STORE_DRIVER), operation, home.Path().substr(0, home.Path().size() - 1), server})
        tracer.push_back(word);
    ChildProcess driver;
    if (!driver.Start(tracer))
        return {-2, ""};
    std::string result = driver.ReadLine(60);
    std::erase(result, '\a'); // new mail rings
    return {driver.Wait(), result};
}
