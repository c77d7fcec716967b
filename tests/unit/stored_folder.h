#pragma once
// The folder "Inbox" of the profile "office" in a home directory of a test's own.

#include "base/text.h"
#include "store/convert.h"
#include "store/folder.h"
#include "store/message_row.h"

#include "fake_passwd.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

class StoredFolder : public testing::Test {
  protected:
    StoredFolder() {
        gPasswd = {home_.Path() + "home", true};
        std::filesystem::create_directories(path_);
    }
    char const *Path() const { return path_.c_str(); }
    std::string In(std::string const &name) const { return path_ + "/" + name; }
    std::string Index() const { return ReadFile(In("index2")); }
    std::string File(int number) const { return ReadFile(In(std::to_string(number))); }

    /// What the folder lists, a line each.
    std::string Rows() const {
        std::string rows;
        EXPECT_TRUE(ReadFolderIndex(Path(), [&rows](IndexRecord const &record) {
            rows += std::to_string(record.number) + ":" + std::string(FieldText(record.row, kRowWidth)) + "\n";
        }));
        return rows;
    }

    /// A message, its row, and that row as Rows lists it.
    static std::string Message(std::string const &subject) { return "Subject: " + subject + "\r\n\r\nbody\r\n"; }
    static std::string Row(std::string const &subject) { return " \t " + subject + "\t\t\t"; }
    static std::string Listed(int number, std::string const &subject) {
        return std::to_string(number) + ":" + Row(subject) + "\n";
    }
    int32_t Append(std::string const &subject) const { return AppendMessage(Path(), Message(subject)); }

    /// Does `work` with the numbers from 0 on, each in a process of its own; all must return true. Meanwhile `watch`,
    /// when there is one, is called again and again.
    static void InProcesses(int count, std::function<bool(int)> const &work,
                            std::function<void()> const &watch = {}) {
        for (int i = 0; i < count; i++)
            if (fork() == 0)
                _exit(work(i) ? 0 : 1);
        while (count > 0) {
            if (watch)
                watch();
            int status = 0;
            if (waitpid(-1, &status, watch ? WNOHANG : 0) > 0) {
                EXPECT_EQ(status, 0);
                count--;
            }
        }
    }

    Scratch home_;
    std::string path_ = home_ / "home/.Corvanta/office/Inbox";
};
