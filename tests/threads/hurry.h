#pragma once
// A person who does one thing after another, at random and without waiting for anything to be done.

#include "threads/world.h"

#include <QStringList>

#include <random>

class QTimer;

class Hurry {
  public:
    Hurry(World &world, unsigned seed);
    ~Hurry();
    /// Does things for about this long.
    void Work(int milliseconds);
    /// Cancels what is being written or sent, and waits until every check and download is over.
    void ComeToRest();
    void PressCheck();

  private:
    int Below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
    void OneThing();
    void OpenSomeFolder();
    void ReadSomeMessage();
    void DeleteMessage();
    void FileMessage();
    void EditAccounts();
    void ChangeProfile(char const *name);
    void MakeOrDeleteSpare();
    void ShakeServer();
    // With news, where the world has a news server.
    void OneNewsThing();
    void OpenGroups();
    void EditNewsAccounts();
    void ShakeNewsServer();
    // Writing: articles, and mail where the world has a server for that.
    void Compose();
    void CancelCompose();
    void MakeOrDeleteFolder();
    void SetTimers() const;

    World &world_;
    std::mt19937 random_;
    QTimer *answers_;
    QStringList chosen_; ///< subjects of the rows last clicked
    bool serving_ = true;
    int pause_ = 0; ///< things to do before the server serves again
    int sent_ = 0;
};
