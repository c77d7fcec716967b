#include "compose/send/standard/standard_send.h"

#include "base/paths.h"
#include "base/text.h"
#include "compose/plain_text.h"
#include "compose/send/message_sink.h"
#include "compose/send/outbox_copy.h"
#include "compose/send/standard/message_file.h"
#include "compose/send/standard/outbox_file.h"
#include "compose/send/standard/submission.h"
#include "profiles/mail_profile_file.h"
#include "secrets/secret.h"
#include "state/waiting.h"
#include "store/folder.h"
#include "store/index_file.h"
#include "store/message_row.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr size_t kLargestSignature = 1 << 20;

/// The account that a message goes out from; null when it cannot be read.
AccountRef<MailProfile> ReadAccount(std::string const &name) {
    AccountRef<MailProfile> profile(new MailProfile);
    struct stat status {};
    bool const there = IsPlainName(name) && stat((ConfigRoot() + name + ".dat").c_str(), &status) == 0 &&
                       ReadMailProfile(name.c_str(), *profile) > 0;
    return there ? profile : AccountRef<MailProfile>();
}

std::string WithSignature(std::string text, char const *signatureFile) {
    std::optional<std::string> const signature =
        *signatureFile ? ReadRegularFile(signatureFile, kLargestSignature) : std::nullopt;
    if (!signature || signature->empty())
        return text;
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    return text + "-- \n" + *signature;
}

std::string_view LastId(std::string_view references) {
    size_t const start = references.rfind('<');
    return start == references.npos ? "" : references.substr(start);
}

StandardMessage MessageOf(Draft const &draft, MailProfile const &profile) {
    StandardMessage message;
    message.from = {profile.fullName, profile.emailAddress};
    message.to = ParseAddresses(draft.to).mailboxes;
    message.cc = ParseAddresses(draft.cc).mailboxes;
    message.bcc = ParseAddresses(draft.bcc).mailboxes;
    message.subject = draft.subject;
    message.text = WithSignature(PlainLines(draft.text), profile.signatureFile);
    message.references = draft.references;
    message.inReplyTo = LastId(draft.references);
    message.messageId = NewMessageId(profile.emailAddress);
    message.date = time(nullptr);
    for (PartHeaders const *const part : draft.parts) {
        size_t const length = part->body && part->bodyLength > 0 ? static_cast<size_t>(part->bodyLength) : 0;
        std::string_view const name = part->name[0] ? part->name : part->fileName;
        std::string_view type = part->contentType;
        type = type.substr(std::min(type.find_first_not_of(' '), type.size()));
        type = type.substr(0, type.find_first_of("; \t"));
        message.files.push_back({std::string(name.substr(name.rfind('/') + 1)),
                                 std::string(type),
                                 {part->body ? part->body : "", length}});
    }
    return message;
}

/// The row of a waiting message: why it did not go stands before its subject.
void ShowReason(std::string const &profile, WaitingMessage const &message) {
    char row[kRowWidth];
    char const *const text = ReadMessageRow(profile.c_str(), kOutbox, message.number, row);
    std::string shown(FieldText(text, kRowWidth));
    if (!message.reason.empty() && shown.starts_with(" \t"))
        shown.insert(2, " [" + std::string(FirstLine(message.reason)) + "]");
    UpdateIndexRow(profile.c_str(), kOutbox, message.number, 0, shown.substr(0, kRowWidth - 1).c_str());
}

/// One message of the Outbox on its way.
class Sending {
  public:
    Sending(MailProfile const &profile, int32_t number, SendProgress const &progress)
        : profile_(profile), number_(number), progress_(progress) {}

    SubmissionResult Run() {
        SubmissionResult result = Steps();
        Finish(result);
        return result;
    }

  private:
    SubmissionResult Steps();
    bool Write(Stream &stream, bool allow8bit);
    void Finish(SubmissionResult &result);

    MailProfile const &profile_;
    int32_t const number_;
    SendProgress const &progress_;
    Fd file_;
    Envelope envelope_;
    std::unique_ptr<OutboxCopy> sent_;
    bool copied_ = false;
};

SubmissionResult Sending::Steps() {
    file_ = Fd(open(MessagePath(FolderDirectory(profile_.name, kOutbox), number_).c_str(),
                    O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file_.Valid() || !ReadEnvelope(file_.Get(), envelope_))
        return {.outcome = Failed(std::string("The message in the Outbox cannot be read: ") + strerror(errno))};
    if (envelope_.recipients.empty())
        return {.outcome = Failed("The message names no recipient.")};
    Secret secret;
    if (Outcome const found = FindSecretOf(profile_, secret, progress_.stopped); !found)
        return {.outcome = found};
    Submission const submission{.server = profile_.smtpServer,
                                .who = {profile_.userName, secret.text, secret.isToken},
                                .sender = profile_.emailAddress,
                                .recipients = envelope_.recipients,
                                .size = envelope_.size,
                                .has8bit = envelope_.has8bit,
                                .write = [this](Stream &stream, bool allow8bit) { return Write(stream, allow8bit); },
                                .progress = progress_.percent};
    SubmissionResult result = Submit(submission, progress_.stopped);
    if (result.outcome.certificate && progress_.accept && progress_.accept(*result.outcome.certificate))
        result = Submit(submission, progress_.stopped);
    return result;
}

/// Over the wire and into Sent at once: Sent is what went.
bool Sending::Write(Stream &stream, bool allow8bit) {
    NoteWaiting(profile_.name, {number_, WaitingState::kSending, ""});
    CreateFolder(FolderDirectory(profile_.name, kSent).c_str());
    sent_ = std::make_unique<OutboxCopy>(profile_.name, kSent);
    MessageSink sink(&stream, sent_->Descriptor(), progress_.stopped);
    int64_t done = 0;
    int shown = 0;
    bool const read = PutMessage(file_.Get(), allow8bit, [&](std::string_view bytes) {
        sink.Put(bytes);
        done += static_cast<int64_t>(bytes.size());
        int const percent = static_cast<int>(10 + 90 * done / std::max<int64_t>(1, envelope_.size));
        if (percent != std::exchange(shown, percent))
            progress_.percent(std::min(100, percent));
        return !sink.WireFailed() && !progress_.stopped();
    });
    sink.Flush();
    copied_ = read && !sink.CopyFailed() && sent_->Descriptor() >= 0;
    return read && !sink.WireFailed();
}

void Sending::Finish(SubmissionResult &result) {
    if (!result.outcome) {
        if (sent_)
            sent_->Remove();
        WaitingMessage const left{number_, result.mayHaveGone ? WaitingState::kSending : WaitingState::kWaiting,
                                  result.mayHaveGone ? "may have been sent; open it to send it again"
                                                     : result.outcome.text};
        NoteWaiting(profile_.name, left);
        ShowReason(profile_.name, left);
        return;
    }
    std::string row;
    // Without its copy in Sent the message in the Outbox is the only one: it stays, and is not sent again.
    if (copied_ && sent_->Keep(row)) {
        DeleteMessage(FolderDirectory(profile_.name, kOutbox).c_str(), number_);
        ForgetWaiting(profile_.name, number_);
    } else {
        WaitingMessage const left{number_, WaitingState::kSending, "was sent; it could not be copied into Sent"};
        NoteWaiting(profile_.name, left);
        ShowReason(profile_.name, left);
    }
}

std::string RefusedText(SubmissionResult const &result) {
    std::string text;
    for (RefusedRecipient const &refused : result.refused)
        text += (text.empty() ? "The message went, but not to:\n" : "\n") + refused.address + ": " + refused.words;
    return text;
}

} // namespace

Outcome StandardCheck(Draft const &draft) {
    if (!ReadAccount(draft.profile))
        return Failed("Choose the account that the message goes out from.");
    size_t recipients = 0;
    for (std::string const &field : {draft.to, draft.cc, draft.bcc}) {
        AddressList const list = ParseAddresses(field);
        if (!list.problem.empty())
            return Failed(list.problem + " Nothing was sent.");
        recipients += list.mailboxes.size();
    }
    return recipients ? Outcome() : Failed("Enter whom the message goes to.");
}

SendResult StandardSend(Draft const &draft, SendProgress const &progress) {
    AccountRef<MailProfile> const profile = ReadAccount(draft.profile);
    SendResult result;
    if (!profile) {
        result.outcome = Failed("The account cannot be read.");
        return result;
    }
    OutboxCopy copy(draft.profile);
    if (!WriteMessage(MessageOf(draft, *profile), copy.Descriptor()) || !copy.Keep(result.outbox.row)) {
        result.outcome = Failed(std::string("The message could not be stored in the Outbox, and was not sent: ") +
                                strerror(errno));
        return result;
    }
    result.outbox.number = copy.Number();
    NoteWaiting(draft.profile, {copy.Number(), WaitingState::kWaiting, ""});
    SubmissionResult const sent = Sending(*profile, copy.Number(), progress).Run();
    if (sent.outcome) {
        result.outbox.row.clear(); // the Outbox holds it no more
        if (!sent.refused.empty())
            progress.tell(RefusedText(sent));
        result.status = "The message was sent";
        return result;
    }
    result.outcome = sent.outcome;
    if (sent.outcome.ending == Ending::kStopped && !sent.mayHaveGone) {
        DeleteMessage(FolderDirectory(draft.profile, kOutbox).c_str(), copy.Number());
        ForgetWaiting(draft.profile, copy.Number());
        result.outbox.row.clear();
        return result;
    }
    result.textIsSafe = true;
    result.status = "The message waits in the Outbox";
    return result;
}

WaitingResult SendWaiting(std::string const &profile, SendProgress const &progress) {
    WaitingResult result;
    AccountRef<MailProfile> const account = ReadAccount(profile);
    std::vector<WaitingMessage> const waiting = WaitingMessages(profile);
    for (WaitingMessage const &message : waiting) {
        bool const goOn = account && result.problem.empty() && message.state == WaitingState::kWaiting;
        SubmissionResult const sent = goOn ? Sending(*account, message.number, progress).Run() : SubmissionResult();
        if (goOn && sent.outcome) {
            result.sent++;
            continue;
        }
        result.left++;
        // A refused message says nothing of the next one.
        if (goOn && (sent.outcome.ending != Ending::kRefused || sent.signInRefused))
            result.problem = sent.outcome.text.empty() ? "Stopped" : sent.outcome.text;
    }
    return result;
}
