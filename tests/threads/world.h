#pragma once
// The mail of a random run: what was put on the server, what the person deleted, and where everything is at the end.

#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"

#include <memory>
#include <set>
#include <string>

/// A server with the mailboxes of alice, bob and carol, and what has happened to their mail. The notes are kept in
/// files, since the person works in a process of its own.
class World {
  public:
    World();
    /// Starts a news server with two groups, a large and a small one, and subscribes the profile "usenet" to them.
    void AddNews();
    /// Starts a server that takes mail for the mailboxes, and gives it to the profiles. That mail is nobody's loss.
    void AddSending();
    /// Puts the next message, one that nobody else is like.
    void Put(std::string const &user);
    /// To be called before a deletion is asked for.
    void NoteDeletion(std::string const &subject);

    /// Every message that is anywhere is as it was put, and alice's and bob's, which were not deleted, are somewhere:
    /// on the server, or in a folder and its index.
    void Verify() const;

    /// Live records in a folder's index.
    static int Stored(std::string const &profile, std::string const &folder);

    DovecotServer server;
    std::unique_ptr<InnServer> news;     ///< null without
    std::unique_ptr<PostfixServer> smtp; ///< null without

  private:
    /// The subjects of all messages that are anywhere, each as it was put.
    std::set<std::string> Found() const;
    std::string Notes(char const *name) const { return server.WorkDirectory() + "/" + name; }
    int put_ = 0;
};

/// What the subjects of mail and articles begin with that are sent from the windows.
constexpr char kSentMark[] = "sent-";

/// The message of that subject, from 100 bytes to 40 KB of it.
std::string MessageOf(std::string const &subject);
