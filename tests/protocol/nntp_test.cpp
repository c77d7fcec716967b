// Sessions with news servers that split, lie, drop and flood, as tests/dialogues/nntp/session.txt has them. No
// window.

#include "base/fd.h"
#include "base/paths.h"
#include "fixtures/dialogue.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "news/session/article.h"
#include "news/session/group.h"
#include "news/session/group_list.h"
#include "news/session/headers.h"
#include "news/session/news_files.h"
#include "protocol/news_account.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace {

namespace fs = std::filesystem;

std::string FileText(std::string const &path) { return ReadRegularFile(path, size_t{1} << 30).value_or("none"); }

std::vector<std::string> Parts(std::string const &text) {
    std::vector<std::string> parts;
    for (size_t from = 0; from <= text.size();) {
        size_t const end = std::min(text.find("; ", from), text.size());
        parts.push_back(text.substr(from, end - from));
        from = end + 2;
    }
    return parts;
}

/// Rows that only remember.
struct Rows : OverviewSink {
    bool Start() override { return !std::exchange(taking, true); }
    void Pause() override { taking = false; }
    Outcome Take(OverviewLine const &line, int32_t number) override {
        EXPECT_TRUE(taking);
        if (++count <= 100) {
            numbers += (numbers.empty() ? "" : " ") + std::to_string(number);
            texts += (count == 1 ? "" : "|") + std::string(line.row);
        }
        return {};
    }
    bool taking = false;
    int count = 0;
    std::string numbers, texts;
};

/// One account in front of a server that plays a dialogue.
class Session {
  public:
    Session(Dialogue dialogue, std::vector<Script> const &scripts)
        : dialogue_(std::move(dialogue)), server_(scripts), profile_(MakeNewsProfile(server_.Address())) {
        if (dialogue_.Has("user"))
            CopyText(profile_->userName, dialogue_["user"]);
        if (dialogue_.Has("password"))
            CopyText(profile_->password, dialogue_["password"]);
    }
    explicit Session(Dialogue const &dialogue) : Session(dialogue, dialogue.connections) {}
    ~Session() { ClearTempHome(); }

    /// How each of the actions ended, parted by "; ".
    std::string Do(std::string const &actions) {
        std::string ends;
        for (std::string const &action : Parts(actions)) {
            size_t const blank = std::min(action.find(' '), action.size());
            NewsSession session(*profile_, [this] { return Stopped(); });
            NewsOutcome const end =
                Act(session, action.substr(0, blank), action.substr(std::min(blank + 1, action.size())));
            alerts_.insert(alerts_.end(), end.alerts.begin(), end.alerts.end());
            ends += (ends.empty() ? "" : "; ") + TextOf(end);
        }
        return ends;
    }
    /// What the file may say of an account.
    std::map<std::string, std::string> Facts() {
        std::string alerts, numbers;
        for (std::string const &alert : alerts_)
            alerts += (alerts.empty() ? "" : "|") + alert;
        std::string const bytes = FileText(NumberListPath("usenet", "g"));
        for (size_t i = 0; i + 4 <= bytes.size() && bytes != "none"; i += 4) {
            int32_t number = 0;
            bytes.copy(reinterpret_cast<char *>(&number), 4, i);
            numbers += (i ? " " : "") + std::to_string(number);
        }
        NewsProfile const &now = *profile_;
        std::string state;
        for (int32_t const number :
             {+now.articleCount, +now.articleCursor, +now.lastArticle, +now.headersDone, +now.batchSize})
            state += (state.empty() ? "" : " ") + std::to_string(number);
        return {{"alerts", alerts},
                {"state", state},
                {"article", article_},
                {"connection", now.serverSocket > 0 ? "open" : "closed"},
                {"rows", rows_.numbers},
                {"texts", rows_.texts},
                {"count", std::to_string(rows_.count)},
                {"numbers", bytes == "none" ? bytes : numbers},
                {"listing", FileText(ListingPath("usenet"))}};
    }
    std::string Problems() {
        CloseConnection(*profile_);
        return server_.Problems();
    }

  private:
    bool Stopped() { return dialogue_.Has("stop") && server_.Received().ends_with(dialogue_["stop"]); }
    static std::string TextOf(Outcome const &end) {
        switch (end.ending) {
        case Ending::kDone:
            return "done" + end.text;
        case Ending::kLost:
            return end.text == "Lost the connection to the news server" ? "lost" : "lost: " + end.text;
        case Ending::kStopped:
            return "stopped" + end.text;
        default:
            return (end.ending == Ending::kRefused ? "refused: " : "failed: ") + end.text;
        }
    }
    NewsOutcome Act(NewsSession &session, std::string const &action, std::string const &word) {
        if (action == "connect")
            return {session.Connect()};
        if (!session.Wire() && (action == "login" || action == "list"))
            return {Failed("no connection")};
        if (action == "login")
            return LogInToNews(*session.Wire(), session.Login());
        if (action == "list") {
            NewsOutcome end = FetchGroupList(*session.Wire(), ListingPath("usenet").c_str(), session.Login());
            session.Close();
            return end;
        }
        if (action == "group")
            return SelectGroup(session, word, session.Login());
        if (action == "open")
            return OpenGroup(session, word, [](char const *) {});
        if (action == "headers")
            return FetchHeaders(session, std::stoi(word), rows_);
        if (action == "read") {
            NewsOutcome end = OpenGroup(session, word, [](char const *) {});
            return end ? FetchHeaders(session, -1, rows_) : end;
        }
        if (action == "article") {
            FetchedArticle fetched = FetchArticle(session, std::stoi(word));
            EXPECT_EQ(fetched.text != nullptr, static_cast<bool>(fetched.outcome));
            if (fetched.text)
                article_.assign(fetched.text.get(), fetched.length);
            return fetched.outcome;
        }
        if (action == "had")
            HadGroup(word);
        else
            PutInTheWay(action + " " + word);
        return {};
    }
    void HadGroup(std::string const &word) {
        NewsProfile &now = *profile_;
        size_t const blank = word.find(' ');
        CopyText(now.currentGroup, word.substr(0, blank));
        now.articleCount = now.articleCursor = now.lastArticle = now.headersDone = now.batchSize =
            std::stoi(word.substr(blank));
    }
    void PutInTheWay(std::string const &what) {
        ASSERT_TRUE(what == "full disk" || what == "odd spool" || what == "no numbers") << what;
        if (what == "no numbers")
            fs::remove(NumberListPath("usenet", "g"));
        else if (what == "odd spool")
            fs::create_directory(SpoolPath("usenet"));
        else
            full_.emplace(1);
    }

    Dialogue dialogue_;
    ScriptedServer server_;
    AccountRef<NewsProfile> profile_;
    std::vector<std::string> alerts_;
    std::string article_;
    Rows rows_;
    std::optional<FileSizeLimit> full_;
};

TEST(NewsSession, Dialogues) {
    int descriptors = 0;
    for (Dialogue const &dialogue : ReadDialogues("nntp/session")) {
        SCOPED_TRACE(dialogue.name);
        {
            Session session(dialogue);
            EXPECT_EQ(session.Do(dialogue["do"]), dialogue["gives"]);
            for (auto const &[fact, value] : session.Facts()) {
                EXPECT_TRUE(!dialogue.Has(fact) || value == dialogue[fact])
                    << fact << ": " << value.substr(0, 300) << "\nnot " << dialogue[fact].substr(0, 300);
            }
            EXPECT_EQ(FileText(SpoolPath("usenet")), "none");
            EXPECT_EQ(dialogue.Has("stop") ? "" : session.Problems(), "");
        }
        descriptors = descriptors ? descriptors : CountDescriptors();
        EXPECT_LE(CountDescriptors(), descriptors);
    }
}

TEST(NewsSession, EndsWhereverTheServerGoes) {
    Dialogue const whole = ReadDialogue("nntp/session", "whole");
    Script cut;
    for (Step const &step : whole.connections[0]) {
        if (step.kind == Step::kSend)
            for (Step const &last : {Reset(), Send(step.text.substr(0, step.text.size() - 2))}) {
                Session session(whole, {cut + Script{last}});
                std::string const end = session.Do("read g");
                // A reset at once may come before the connection is seen to stand.
                EXPECT_TRUE(end == "lost" || (cut.empty() && end.starts_with("failed: "))) << end;
                EXPECT_EQ(session.Facts()["connection"], "closed");
            }
        cut.push_back(step);
    }
}

} // namespace
