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
    /// Waits until every check is over.
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
    void SetTimers() const;
    void CheckStatus() const;

    World &world_;
    std::mt19937 random_;
    QTimer *answers_;
    QStringList chosen_; ///< subjects of the rows last clicked
    bool serving_ = true;
    int pause_ = 0; ///< things to do before the server serves again
};
