#include "ui/sample.h"

#include "app/check_thread.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

std::string DemoMail(std::string const &name) { return FileText(CORVANTA_DEMO_MAIL "/" + name + ".eml"); }

std::string PlainMail(std::string const &subject) {
    return "From: sender@example.org\r\nTo: alice@example.org\r\nSubject: " + subject +
           "\r\nDate: Mon, 02 Nov 2026 10:00:00 +0000\r\n\r\nThe text of " + subject + ".\r\n";
}

std::string Root() { return TempHome() + "/.Corvanta/"; }

void MakeProfile(std::string const &server, bool leaveOnServer, int interval, std::string const &name,
                 std::string const &user) {
    fs::create_directories(Root() + ".tmp");
    chmod(Root().c_str(), 0700);
    std::ofstream(Root() + name + ".dat") << server << "\nsmtp.example.org\n"
                                          << user << "\nc2VjcmV0\nAlice Archer\n"
                                          << "alice@example.org\n"
                                          << interval << "\n"
                                          << (leaveOnServer ? "LEAVEONSERVER" : "REMOVEFROMSERVER") << "\n\n\n\n";
    for (char const *folder : {"Inbox", "Saved", "Outbox"}) {
        std::string const path = Root() + name + "/" + folder;
        fs::create_directories(path);
        std::ofstream(path + "/index2") << std::string("\2\0\1", 4) << std::string(20, '\0');
    }
}

void MakeNewsProfile(std::string const &server, std::vector<std::string> const &groups) {
    std::string const profile = Root() + "news/usenet";
    fs::create_directories(profile + "/groups");
    fs::create_directories(Root() + ".tmp");
    std::ofstream(profile + ".dat") << server << "\nalice\nc2VjcmV0\nAlice\nalice@example.org\n/none\n\n\n\n\n\n";
    for (std::string const &group : groups)
        std::ofstream(profile + "/groups/" + group).flush();
}

void SendThrough(std::string const &server, std::string const &name) {
    std::string profile = FileText(Root() + name + ".dat");
    profile.replace(profile.find("smtp.example.org"), 16, server);
    std::ofstream(Root() + name + ".dat") << profile;
}

long IndexSize(std::string const &folder) {
    std::error_code error;
    auto const size = fs::file_size(Root() + "home/" + folder + "/index2", error);
    return error ? -1 : static_cast<long>(size);
}

QStringList Subjects() {
    QStringList subjects;
    for (QString const &row : Rows("treeMessageHeaders"))
        subjects << row.section('|', 1, 1);
    return subjects;
}

void WaitForChecks() {
    EXPECT_TRUE(WaitFor([] { return RunningChecks() == 0; }));
}

void OpenInbox() {
    ClickRow("treeProfiles", "Inbox");
    WaitForChecks();
}
