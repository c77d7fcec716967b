#include "pop/standard/receive.h"

#include "pop/standard/fetch.h"
#include "pop/standard/session.h"
#include "state/uidl_log.h"
#include "store/folder.h"
#include "store/index_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <set>
#include <sys/stat.h>

namespace {

using Clock = std::chrono::steady_clock;

/// Messages that are made safe together: one sync for all of them.
constexpr size_t kBatchMessages = 500;
constexpr int64_t kBatchBytes = 64 << 20;
constexpr auto kProgressEvery = std::chrono::milliseconds(100);

int64_t Now() { return time(nullptr); }

/// The number that the folder has handed out last.
int32_t LastNumber(std::string const &folder) { return LockedIndex(folder).LastNumber(); }

/// What a killed fetch may have stored already.
class Leftovers {
  public:
    Leftovers(std::string folder, int32_t from) : folder_(std::move(folder)) {
        ReadFolderIndex(folder_.c_str(), [&](IndexRecord const &record) {
            if (record.number > from)
                numbers_.insert(record.number);
        });
    }

    /// The number of a stored message with this text, 0 for none. Each is found once.
    int32_t Take(std::string_view text) {
        return TakeIf([&](std::string_view stored) { return stored == text; });
    }

    /// The number of a message of which only the start was stored, or nothing; 0 for none.
    int32_t TakePartOf(std::string_view text) {
        return TakeIf(
            [&](std::string_view stored) { return stored.size() < text.size() && text.starts_with(stored); });
    }

  private:
    int32_t TakeIf(std::function<bool(std::string_view)> const &matches) {
        for (int32_t const number : numbers_) {
            long length = 0;
            std::unique_ptr<char, void (*)(void *)> const stored(ReadMessageFile(folder_.c_str(), number, 1, &length),
                                                                 free);
            if (!matches(stored ? std::string_view(stored.get(), static_cast<size_t>(length)) : ""))
                continue;
            numbers_.erase(number);
            return number;
        }
        return 0;
    }

    std::string folder_;
    std::set<int32_t> numbers_;
};

/// A message that could not be written leaves its record in the index, with a number above `from`.
void DropRecordsWithoutFile(std::string const &folder, int32_t from) {
    std::vector<int32_t> numbers;
    ReadFolderIndex(folder.c_str(), [&](IndexRecord const &record) {
        struct stat status {};
        if (record.number > from && stat(MessagePath(folder, record.number).c_str(), &status) != 0)
            numbers.push_back(record.number);
    });
    for (int32_t const number : numbers)
        DeleteMessage(folder.c_str(), number);
}

class Receiving {
  public:
    Receiving(ReceiveRequest const &request, ReceiveSink &sink, StopPredicate const &stopped)
        : request_(request), sink_(sink), stopped_(stopped), log_(request.profile) {}

    ReceiveResult Run() {
        result_.outcome = Steps();
        return std::move(result_);
    }

  private:
    Outcome Steps();
    void Sort();
    Outcome TakeUnended();
    Outcome TakeAll();
    Outcome TakeBatch(Fetch &fetch, std::span<ServerMessage const> batch, int32_t from, Leftovers *leftovers);
    Outcome TakeOne(Fetch &fetch, ServerMessage const &message, Leftovers *leftovers);
    Outcome Secure();
    Outcome Delete();
    bool IsToGo(ServerMessage const &message) const;
    void ShowProgress(ServerMessage const &message);

    ReceiveRequest const &request_;
    ReceiveSink &sink_;
    StopPredicate const &stopped_;
    UidlLog log_;
    PopSession session_;
    ReceiveResult result_;
    std::vector<ServerMessage> messages_, wanted_, unended_;
    std::vector<StoredMessage> batch_; ///< stored and not yet known to be safe
    std::vector<int> toDelete_;        ///< numbers on the server of what is safe here, or was deleted here
    int32_t from_ = 0;                 ///< the number before the batch
    bool hasUids_ = false;
    Clock::time_point start_ = Clock::now(), shown_ = Clock::time_point();
    int done_ = 0, total_ = 0;
    int64_t bytes_ = 0, totalBytes_ = 0;
    Outcome refusal_; ///< the first message that the server did not give
};

Outcome Receiving::Steps() {
    if (!log_.Valid())
        return Failed(std::string("The list of messages that were taken in cannot be used: ") + strerror(errno));
    if (Outcome const opened = session_.Open(request_, stopped_); !opened)
        return opened;
    if (Outcome const signedIn = session_.SignIn(request_, result_.signInRefused); !signedIn)
        return signedIn;
    if (Outcome const listed = session_.List(messages_, hasUids_); !listed)
        return listed;
    result_.withoutUidl = !hasUids_;
    result_.onServer = static_cast<int>(messages_.size());
    Sort();
    Outcome taken = TakeUnended();
    if (taken)
        taken = TakeAll();
    // What was stored before the end is made safe whatever the end was.
    if (Outcome const safe = Secure(); !safe)
        return safe;
    if (!taken)
        return taken;
    if (Outcome const deleted = Delete(); !deleted)
        return deleted;
    if (Outcome const ended = session_.Quit(); !ended)
        return ended;
    return refusal_;
}

/// What is wanted, what was perhaps stored before a kill, what may go.
void Receiving::Sort() {
    std::map<std::string, int, std::less<>> onServer;
    for (ServerMessage const &message : messages_)
        onServer.emplace(message.uid, message.number);
    if (hasUids_)
        log_.KeepOnly(onServer);
    std::vector<std::string> const &unended = log_.Unended();
    for (ServerMessage const &message : messages_) {
        bool const known = hasUids_ ? log_.Find(message.uid) != nullptr : message.number <= request_.knownCount;
        if (known) {
            if (hasUids_ && IsToGo(message))
                toDelete_.push_back(message.number);
            continue;
        }
        bool const maybe = std::find(unended.begin(), unended.end(), message.uid) != unended.end();
        (maybe ? unended_ : wanted_).push_back(message);
        totalBytes_ += message.size;
    }
    total_ = static_cast<int>(wanted_.size() + unended_.size());
}

/// Of what was taken in before: was it deleted here, is it to be removed there, or was it there long enough?
bool Receiving::IsToGo(ServerMessage const &message) const {
    SeenMessage const &seen = *log_.Find(message.uid);
    return seen.folder.empty() || !request_.leaveOnServer ||
           (request_.removeAfterDays > 0 && Now() - seen.time > int64_t{request_.removeAfterDays} * 24 * 3600);
}

Outcome Receiving::TakeUnended() {
    if (unended_.empty())
        return {};
    int32_t const from = log_.UnendedFrom();
    Leftovers leftovers(request_.inbox, from);
    Fetch fetch(session_, unended_);
    return TakeBatch(fetch, unended_, from, &leftovers);
}

Outcome Receiving::TakeAll() {
    Fetch fetch(session_, wanted_);
    for (std::span<ServerMessage const> rest = wanted_; !rest.empty();) {
        size_t count = 0;
        for (int64_t bytes = 0; count < rest.size() && count < kBatchMessages && bytes < kBatchBytes; count++)
            bytes += rest[count].size;
        if (Outcome const taken = TakeBatch(fetch, rest.first(count), LastNumber(request_.inbox), nullptr); !taken)
            return taken;
        rest = rest.subspan(count);
    }
    return {};
}

/// Takes the next messages of `fetch` in and makes them safe. They may have numbers above `from` in the Inbox
/// already.
Outcome Receiving::TakeBatch(Fetch &fetch, std::span<ServerMessage const> batch, int32_t from, Leftovers *leftovers) {
    std::vector<std::string> uids;
    for (ServerMessage const &message : batch)
        uids.push_back(message.uid);
    if (hasUids_ && !log_.Begin(from, uids))
        return Failed(std::string("The list of messages that were taken in cannot be written: ") + strerror(errno));
    from_ = from;
    for (ServerMessage const &message : batch)
        if (Outcome const taken = TakeOne(fetch, message, leftovers); !taken)
            return taken;
    return Secure();
}

Outcome Receiving::TakeOne(Fetch &fetch, ServerMessage const &message, Leftovers *leftovers) {
    std::string text;
    Outcome const got = fetch.Next(text);
    if (got.ending == Ending::kRefused) { // another program may have deleted it since
        if (refusal_)
            refusal_ = Refused(got.text);
        return {};
    }
    if (!got)
        return got;
    int32_t number = leftovers ? leftovers->Take(text) : 0;
    // What a kill left of the message is no message.
    if (int32_t const part = leftovers && number == 0 ? leftovers->TakePartOf(text) : 0)
        DeleteMessage(request_.inbox.c_str(), part);
    if (number == 0) {
        number = AppendMessage(request_.inbox.c_str(), text);
        if (number < 0) {
            DropRecordsWithoutFile(request_.inbox, from_);
            return Failed("A message could not be stored, it stays on the server");
        }
        sink_.Stored(number, text);
    }
    batch_.push_back({message.uid, number});
    if (!request_.leaveOnServer)
        toDelete_.push_back(message.number);
    ShowProgress(message);
    return {};
}

void Receiving::ShowProgress(ServerMessage const &message) {
    done_++;
    bytes_ += message.size;
    auto const now = Clock::now();
    if (now - shown_ < kProgressEvery && done_ < total_)
        return;
    shown_ = now;
    double const seconds = std::max(0.001, std::chrono::duration<double>(now - start_).count());
    sink_.Progress({done_, total_, bytes_, totalBytes_, static_cast<double>(bytes_) / seconds});
}

/// Brings what was stored to disk and notes it.
Outcome Receiving::Secure() {
    if (batch_.empty())
        return {};
    std::vector<int32_t> numbers;
    for (StoredMessage const &message : batch_)
        numbers.push_back(message.number);
    std::vector<StoredMessage> const stored = std::exchange(batch_, {});
    if (!SyncFolder(request_.inbox.c_str(), numbers.data(), static_cast<int>(numbers.size())))
        return Failed("The messages could not be stored safely, they stay on the server");
    if (hasUids_ && !log_.Commit(stored, Now()))
        return Failed(std::string("The list of messages that were taken in cannot be written: ") + strerror(errno));
    result_.fetched += static_cast<int>(stored.size());
    return {};
}

Outcome Receiving::Delete() {
    size_t const together = session_.MayPipeline() ? 100 : 1;
    for (std::span<int const> rest = toDelete_; !rest.empty();) {
        std::span<int const> const now = rest.first(std::min(rest.size(), together));
        std::string commands, words;
        for (int const number : now)
            commands += "DELE " + std::to_string(number) + "\r\n";
        session_.Connection().StartWaiting();
        if (!session_.Connection().Write(commands))
            return session_.EndOfConnection();
        for (size_t i = 0; i < now.size(); i++) {
            Outcome const deleted = session_.ReadReply(words);
            if (!deleted && deleted.ending != Ending::kRefused)
                return deleted;
            if (deleted)
                result_.onServer--;
            else if (refusal_)
                refusal_ = deleted;
        }
        rest = rest.subspan(now.size());
    }
    return {};
}

} // namespace

ReceiveResult ReceiveMail(ReceiveRequest const &request, ReceiveSink &sink, StopPredicate const &stopped) {
    return Receiving(request, sink, stopped).Run();
}
