#pragma once
// What a person does alike in the dialogs of mail and of news accounts.

#include "base/account.h"
#include "ui/person.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

/// Types alice's account into the fields that both dialogs have, the password with a slip; `fields` is what their
/// names begin with.
inline void TypeAccount(std::string const &fields) {
    std::string const password = fields + "Password";
    Type((fields + "Username").c_str(), "alice");
    Type(password.c_str(), "secres");
    Press(password.c_str(), Qt::Key_Backspace);
    TypeMore(password.c_str(), "t");
    EXPECT_EQ(Text(password.c_str()), "******");
    Type((fields + "Fullname").c_str(), "Alice Archer");
    Type((fields + "Email").c_str(), "alice@example.org");
    Type((fields + "Signature").c_str(), "/home/alice/.signature");
}

/// Deletes the profile whose record and directory are `path` with and without ".dat", after a change of mind.
inline void DeleteAccount(char const *list, char const *button, std::string const &path) {
    QString const name = QString::fromStdString(std::filesystem::path(path).filename());
    ClickRow(list, name);
    WhenAsked("Cancel");
    Click(button);
    EXPECT_EQ(Boxes().last(), "Warning!|Are you sure you want to \npermanently delete this profile?");
    EXPECT_TRUE(std::filesystem::exists(path + ".dat"));
    ClickRow(list, name);
    WhenAsked("Delete it");
    Click(button);
    EXPECT_FALSE(std::filesystem::exists(path + ".dat"));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(Rows(list), QStringList());
}

/// A connection of the account, without a server.
class LentConnection {
  public:
    explicit LentConnection(ServerAccount &account) {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
        account.serverSocket = ends_[0];
    }
    ~LentConnection() { close(ends_[1]); }
    LentConnection(LentConnection const &) = delete;
    LentConnection &operator=(LentConnection const &) = delete;

    bool ClosedWithoutAWord() const {
        char byte = 0;
        return recv(ends_[1], &byte, 1, MSG_DONTWAIT) == 0;
    }

  private:
    int ends_[2] = {-1, -1};
};
