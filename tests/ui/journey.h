#pragma once
// Journeys of a user through the real windows as text files below tests/journeys: cases (fixtures/case_file.h) of
// which one line is one step. Each case starts with an empty home. NAME is a widget's name, NAME#2 the second such
// widget that is shown. What is expected is waited for, 10 s at most; the first step that fails ends the case.
//
// What is there (words of these lines: {HOME}, {ROOT} with a slash, and the address of each server that was started):
//   dovecot, postfix OPTION|OPTION, inn OPTION OPTION, serve DIALOGUE [CASE]   servers {POP} {SMTP} {NEWS} {SERVER},
//   which work in {POPWORK} {SMTPWORK} {NEWSWORK}; needs-root skips where they may not run
//   mail-profile NAME SERVER leave|remove [SECONDS]   news-profile SERVER GROUPS...   send-through NAME SERVER
//   put PATH = TEXT   sparse PATH BYTES   remove PATH   directory PATH   tool NAME = SCRIPT (found before all others)
//   deliver USER plain SUBJECT|demo NAME|TEXT   store FOLDER (the same)   post ARTICLE   post-file PATH   articles
//   COUNT   kick USER
//
// What the user does, between "sitting [OPTIONS]", which starts the program, and "end":
//   click NAME   type NAME TEXT   add NAME TEXT   paste NAME TEXT   choose BOX TEXT   press NAME KEY   close NAME
//   key KEY, keys TEXT (where the focus is)   tab-to NAME   menu ENTRY   rowmenu LIST ROW > ENTRY > ENTRY
//   attach PATH   observe MILLISECONDS (while something must not happen)
//   row LIST TEXT, double LIST TEXT (the first row with the text)   timer NAME MILLISECONDS   picture NAME FILE
//   for the box that the next step opens: answer BUTTON   say TEXT > BUTTON   file PATH   print PATH
//
// What is expected ("=" is equal, "^" starts so, "~" contains, "!" does not; rows are parted by \n, their columns by
// |):
//   text NAME = TEXT   title NAME = TEXT   size NAME = 1x2   shown NAME   hidden NAME   focus NAME   page ~ TEXT
//   rows LIST = ROWS   sorted LIST = ROWS   rows-with PART LIST = ROWS   count LIST = ROWS   subjects = TEXTS
//   chosen LIST = TEXT (current, selected and in sight)   father SUBJECT = SUBJECT   box = TITLE|TEXT (the last)
//   content PATH = TEXT   files PATH = NAMES   mode PATH = 600   missing PATH   exists PATH   proposed = PATH
//   mailbox USER = COUNT   log TIMES TEXT, logged TEXT = TIMES (the mail server's log)   served TIMES TEXT (to
//   SERVER)   quiet (no check, no download)   shell COMMAND   do NAME (a step written in C++)

#include "fixtures/case_file.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/scripted_server.h"

#include <chrono>
#include <functional>
#include <memory>

class Journey {
  public:
    explicit Journey(std::string file) : file_(std::move(file)) {}
    void Play(Case const &journey);

    /// A step that is written in C++, for "do NAME".
    static void AddStep(std::string const &name, std::function<void()> const &step);

    // For the steps.
    std::string Text(std::string const &text) const { return Unescaped(text, words_); }
    void Tell(std::string const &word, std::string const &value) { words_[word] = value; }
    std::unique_ptr<DovecotServer> pop;
    std::unique_ptr<PostfixServer> smtp;
    std::unique_ptr<InnServer> news;
    std::unique_ptr<ScriptedServer> server;
    std::chrono::steady_clock::time_point const start = std::chrono::steady_clock::now();

  private:
    void Do(CaseLine const &line);

    std::string file_;
    Words words_;
};

/// Makes each case of a file a test of its own: the suite is the file, the test the case.
void RegisterJourneys(std::string const &file);
