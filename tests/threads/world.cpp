#include "threads/world.h"

#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::set<std::string> Lines(std::string const &path) {
    std::set<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        lines.insert(line);
    return lines;
}

void AddLine(std::string const &path, std::string const &line) { std::ofstream(path, std::ios::app) << line << '\n'; }

/// The subject of a message in a file, which must be that whole message; empty when it is none of ours, or when its
/// server has just moved the file.
std::string CheckedSubject(std::string const &path) {
    std::string const text = FileText(path);
    if (!fs::exists(path))
        return {};
    constexpr std::string_view kField = "\r\nSubject: ";
    size_t const at = text.find(kField);
    std::string const subject =
        at == std::string::npos ? "" : text.substr(at + kField.size(), text.find('\r', at + 2) - at - kField.size());
    // Servers add a header of their own to mail that was sent, and take its line ends.
    if (text.find(std::string("\nSubject: ") + kSentMark) != std::string::npos)
        return kSentMark;
    EXPECT_TRUE(text == MessageOf(subject)) << path << " has " << text.size() << " bytes and the subject '" << subject
                                            << "', which has " << MessageOf(subject).size();
    return subject;
}

} // namespace

std::string MessageOf(std::string const &subject) {
    size_t lines = 0;
    for (char const letter : subject)
        lines = lines * 31 + static_cast<unsigned char>(letter);
    std::string text = PlainMail(subject);
    for (size_t i = 0; i < lines % 7 * lines % 701; i++)
        text += (i % 5 == 0   ? "."
                 : i % 3 == 0 ? "gr\xFC\xDF "
                              : "line ") +
                std::to_string(i) + " of " + subject + "\r\n";
    return text;
}

World::World() : server({"--user", "alice:secret", "--user", "bob:secret", "--user", "carol:secret"}) {}

namespace {

constexpr int kArticles = 700;

/// An article; many answer an earlier one.
std::string Article(int number) {
    std::string const subject = "article-" + std::to_string(number);
    std::string const group = number % 10 ? "test.general" : "test.other";
    return "From: Writer <writer@example.org>\nNewsgroups: " + group + "\nSubject: " + subject +
           "\nDate: Mon, 02 Nov 2026 10:00:00 +0000\nMessage-ID: <" + subject + "@example.org>\n" +
           (number % 3 ? "References: <article-" + std::to_string(number / 2) + "@example.org>\n" : "") +
           "\nThe text of " + subject + ".\n" + std::string(static_cast<size_t>(number % 7 * 1000), '.') + "\n";
}

} // namespace

void World::AddNews() {
    news = std::make_unique<InnServer>(std::vector<std::string>{"--access", "required", "--idle", "3"});
    if (news->MayNotRun()) {
        news.reset();
        return;
    }
    ASSERT_GT(news->Port(), 0);
    std::string batch;
    for (int number = 1; number <= kArticles; number++) {
        std::string const article = Article(number);
        batch += "#! rnews " + std::to_string(article.size()) + "\n" + article;
    }
    ASSERT_TRUE(news->Put(batch));
    MakeNewsProfile(news->Address(), {"test.general ", "test.other "});
}

void World::AddSending() {
    smtp = std::make_unique<PostfixServer>(server.WorkDirectory() + "/mail");
    if (smtp->MayNotRun()) {
        smtp.reset();
        return;
    }
    ASSERT_GT(smtp->Port(), 0);
    for (char const *profile : {"home", "work"})
        SendThrough(smtp->Address(), profile);
}

void World::Put(std::string const &user) {
    std::string const subject = user + "-" + std::to_string(++put_);
    AddLine(Notes("put"), subject);
    server.Put(user, MessageOf(subject));
}

void World::NoteDeletion(std::string const &subject) { AddLine(Notes("deleted"), subject); }

int World::Stored(std::string const &profile, std::string const &folder) {
    int count = 0;
    ReadFolderIndex((Root() + profile + "/" + folder + "/").c_str(), [&](IndexRecord const &) { count++; });
    return count;
}

std::set<std::string> World::Found() const {
    std::set<std::string> found;
    for (char const *user : {"alice", "bob", "carol"})
        for (char const *part : {"/new", "/cur"})
            for (fs::directory_entry const &file :
                 fs::directory_iterator(server.WorkDirectory() + "/mail/" + user + part))
                found.insert(CheckedSubject(file.path()));
    for (char const *profile : {"home", "work", "spare"})
        for (char const *folder : {"Inbox", "Saved", "Outbox"}) {
            std::string const path = Root() + profile + "/" + folder + "/";
            ReadFolderIndex(path.c_str(), [&](IndexRecord const &record) {
                found.insert(CheckedSubject(path + std::to_string(record.number)));
            });
        }
    return found;
}

void World::Verify() const {
    std::set<std::string> const deleted = Lines(Notes("deleted")), put = Lines(Notes("put"));
    std::set<std::string> found = Found();
    auto const lost = [&](std::string const &subject) {
        return !subject.starts_with("carol") && !deleted.contains(subject) && !found.contains(subject);
    };
    // The server may still move files of a session that the end of the program broke off.
    for (int i = 0; i < 100 && std::any_of(put.begin(), put.end(), lost); i++) {
        usleep(50'000);
        found = Found();
    }
    EXPECT_GT(put.size(), 10u);
    for (std::string const &subject : put)
        EXPECT_FALSE(lost(subject)) << subject << " is lost";
    printf("%zu messages put, %zu deleted, %zu there\n", put.size(), deleted.size(), found.size());
}
