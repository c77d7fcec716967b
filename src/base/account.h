#pragma once
// The records of accounts: the fields of their files and the state of their connection.

#include <atomic>
#include <cstdint>
#include <memory>
#include <semaphore.h>
#include <string>
#include <string_view>

class Stream;

constexpr int kMailProfile = 1;
constexpr int kNewsProfile = 3;

/// What mail and news accounts have in common, seen through either: each record has the fields of its own, in the
/// order and with the widths of its kind. A record lives as long as anything holds a reference: the tree item whose
/// data it is, a worker's session, a callback in the middle of a download.
struct ServerAccount {
    char const *const name; ///< the profile's name: its file's and directory's name
    char const *const userName;
    char const *const emailAddress;
    char const *const password; ///< in clear
    char const *const fullName;
    char const *const signatureFile;
    std::atomic<int32_t> &serverSocket; ///< the open connection; below 1 means none
    sem_t &sessionLock;                 ///< taken around every use of serverSocket
    int32_t const &profileKind;         ///< kMailProfile or kNewsProfile
    std::shared_ptr<Stream> stream;     ///< what owns serverSocket, when anything does; under sessionLock
    std::atomic<int32_t> references;

    /// Of a record that is being made.
    template <class Record>
    explicit ServerAccount(Record &record)
        : name(record.name), userName(record.userName), emailAddress(record.emailAddress), password(record.password),
          fullName(record.fullName), signatureFile(record.signatureFile), serverSocket(record.serverSocket),
          sessionLock(record.sessionLock), profileKind(record.profileKind), references(0) {}
    virtual ~ServerAccount() = default;
    ServerAccount(ServerAccount const &) = delete;
    ServerAccount &operator=(ServerAccount const &) = delete;
};

/// A POP3/SMTP account.
struct MailProfile : ServerAccount {
    char name[1025] = "";
    char popServer[1025] = "";
    char smtpServer[2050] = "";
    char userName[1025] = "";
    char emailAddress[1025] = "";
    char password[1025] = "";
    char fullName[1025] = "";
    char checkInterval[15] = ""; ///< seconds, as text
    char leaveOnServer[25] = ""; ///< "LEAVEONSERVER" or "REMOVEFROMSERVER"
    char signatureFile[1028] = "";
    std::atomic<int32_t> serverSocket = -1;
    int32_t checkIntervalSeconds = 0;            ///< the period of automatic checks; under the library lock
    int32_t checkCountdown = 0;                  ///< what is left of it; under the library lock
    int32_t checkActive = 0;                     ///< cleared when a folder of the profile is opened
    std::atomic<bool> checkWaiting = false;      ///< a check waits for sessionLock: another one is dropped
    std::atomic<int32_t> serverMessageCount = 0; ///< messages of the server's list that this run has taken in
    sem_t sessionLock;
    int32_t profileKind = kMailProfile;

    MailProfile();
    ~MailProfile() override;
    bool LeavesMailOnServer() const;
};

/// A Usenet account (NNTP). The fields after `signatureFile` belong to the holder of sessionLock.
struct NewsProfile : ServerAccount {
    char name[3075] = "";
    char server[1025] = "";
    char userName[1025] = "";
    char emailAddress[1025] = "";
    char password[1025] = "";
    char fullName[1065] = "";
    char signatureFile[1028] = "";
    std::atomic<int32_t> serverSocket = -1;
    char currentGroup[200] = "";            ///< the group that the open connection has selected; empty for none
    std::atomic<int32_t> articleCursor = 0; ///< the article that the next download starts at
    std::atomic<int32_t> lastArticle = 0;   ///< the group's last article
    std::atomic<int32_t> articleCount = 0;  ///< how many the server says the group has
    std::atomic<int32_t> headersDone = 0;   ///< header lines taken in since the group was selected
    std::atomic<int32_t> batchSize = 0;     ///< headers of the next download; 0: ask the user, or nothing
    sem_t sessionLock;
    int32_t profileKind = kNewsProfile;
    std::string noNumbers; ///< the server's words when it refused the numbers of the open group's articles

    NewsProfile();
    ~NewsProfile() override;
};

/// True when a group's name may become part of a path and of a command: not empty, not "." or "..", without "/" and
/// control characters, at most 199 bytes (the field for the open group). A stored name may end in a blank.
bool IsGroupName(std::string_view group);

/// Takes and drops a reference; the last one frees the record and closes its connection. Any thread.
void Retain(ServerAccount *account);
void Release(ServerAccount *account);

/// Holds one reference to an account (or none).
template <class Account> class AccountRef {
  public:
    AccountRef() = default;
    explicit AccountRef(Account *account) : account_(account) {
        if (account_)
            Retain(account_);
    }
    AccountRef(AccountRef const &other) : AccountRef(other.account_) {}
    AccountRef &operator=(AccountRef other) {
        Account *const mine = account_;
        account_ = other.account_;
        other.account_ = mine;
        return *this;
    }
    ~AccountRef() {
        if (account_)
            Release(account_);
    }
    Account *Get() const { return account_; }
    Account *operator->() const { return account_; }
    Account &operator*() const { return *account_; }
    explicit operator bool() const { return account_; }

  private:
    Account *account_ = nullptr;
};
