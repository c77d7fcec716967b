#include "compose/send/classic/delivery.h"

#include "base/fd.h"
#include "compose/plain_text.h"

#include <cerrno>
#include <ctime>
#include <optional>

namespace {

constexpr size_t kLargestSignature = 1 << 20;
constexpr int kConnectedProgress = 2, kBodyProgress = 6;

} // namespace

SendResult Delivery::Run() {
    SendResult result;
    OpenedStream opened = OpenStream(Server(), Kind(), progress_.stopped);
    if (opened.outcome.certificate && progress_.accept && progress_.accept(*opened.outcome.certificate))
        opened = OpenStream(Server(), Kind(), progress_.stopped);
    if (opened.stream) {
        opened.stream->StopWhen(progress_.stopped);
        progress_.percent(kConnectedProgress);
        result.outcome = Talk(*opened.stream);
    } else {
        result.status = opened.outcome.text;
        result.outcome = IsStopped() ? Stopped() : Lost(kNoConnection);
    }
    Finish(result);
    return result;
}

void Delivery::FillMessage(ServerAccount const &account) {
    time_t const now = time(nullptr);
    message_ = {.date = DateText(now),
                .boundary = BoundaryText(now),
                .fullName = FieldValue(account.fullName),
                .address = FieldValue(account.emailAddress),
                .to = FieldValue(draft_.to),
                .cc = FieldValue(draft_.cc),
                .subject = FieldValue(draft_.subject),
                .text = PlainLines(draft_.text),
                .signature = {},
                .parts = draft_.parts};
    if (!account.signatureFile[0])
        return;
    std::optional<std::string> signature = ReadRegularFile(account.signatureFile, kLargestSignature);
    if (!signature && errno == EFBIG)
        progress_.tell(std::string("The signature file ") + account.signatureFile +
                       " is larger than 1 MB, the message goes without it");
    message_.hasSignature = signature.has_value();
    message_.signature = std::move(signature).value_or("");
}

Delivery::Written Delivery::Write(Stream *wire, int file, std::string_view end) {
    int before = kBodyProgress;
    auto const show = [&](int percent) {
        if (wire && std::exchange(before, percent) != percent)
            progress_.percent(percent);
    };
    MessageSink sink(wire, file, progress_.stopped);
    WriteHeader(sink);
    if (wire)
        progress_.percent(kBodyProgress);
    WriteMessageBody(message_, sink, show);
    sink.Put(end);
    sink.Flush();
    return {!sink.WireFailed(), !sink.CopyFailed()};
}
