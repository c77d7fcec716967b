// Parsing, decoding and rendering, against memcpy of the same bytes.

#include "mime/part_content.h"
#include "mime/render.h"
#include "reference.h"

#include "base/fd.h"
#include "mime/base64.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

struct NoSink : AttachmentSink {
    void Add(char const *, PartHeaders const &) override {}
};

std::string PlainText(size_t size) {
    std::string text;
    while (text.size() < size)
        text += "The quick brown fox jumps over the lazy dog, and if 3 < 4 it does so twice.\r\n";
    return text;
}

/// Lines of 76 characters, as mailers write them.
std::string EncodedLines(size_t size) {
    std::string text;
    unsigned value = 1;
    while (text.size() < size) {
        for (int i = 0; i < 76; i++) {
            value = value * 1103515245 + 12345;
            text += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[value >> 16 & 63];
        }
        text += "\r\n";
    }
    return text;
}

std::string HeaderBlock() {
    std::string text;
    for (int hop = 0; hop < 8; hop++)
        text += "Received: from relay.example (relay.example [192.0.2.1])\r\n\tby mx.example with ESMTPS id 4XyZ\r\n"
                "\tfor <somebody@example.org>; Sat, 21 Nov 2026 05:00:00 +0000\r\n";
    return text + "From: \"Some Body\" <some.body@example.org>\r\nTo: a@example.org,\r\n b@example.org\r\n"
                  "Subject: Minutes of the meeting\r\nDate: Sat, 21 Nov 2026 05:00:00 +0000\r\nMIME-Version: 1.0\r\n"
                  "Content-Type: text/plain; charset=utf-8\r\n\r\nBody\r\n";
}

std::string Multipart(size_t imageSize, int images) {
    std::string text = "\r\n--limit\r\nContent-Type: text/plain\r\n\r\n" + PlainText(4000);
    for (int i = 0; i < images; i++)
        text +=
            "\r\n--limit\r\nContent-Type: image/gif; name=\"a.gif\"\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
            EncodedLines(imageSize);
    return text + "\r\n--limit--\r\n";
}

/// Output that costs a copy and nothing else.
Fd Output() { return Fd(memfd_create("page", MFD_CLOEXEC)); }

void PlainPage(benchmark::State &state) {
    std::string const text = PlainText(static_cast<size_t>(state.range(0)));
    ParsedHeaders headers{};
    NoSink sink;
    Fd const out = Output();
    RenderMessageHtml(out.Get(), text.c_str(), headers, "", sink); // its pages exist then
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state) {
        lseek(out.Get(), 0, SEEK_SET);
        RenderMessageHtml(out.Get(), text.c_str(), headers, "", sink);
    }
}
BENCHMARK(PlainPage)->Arg(4000)->Arg(10'000'000)->Unit(benchmark::kMicrosecond);

void MultipartPage(benchmark::State &state) {
    std::string const text = Multipart(3'000'000, 3);
    ParsedHeaders headers{};
    ParseHeaders("Content-Type: multipart/mixed; boundary=\"limit\"\r\n\r\n", headers);
    NoSink sink;
    std::string directory = "/dev/shm/mime_benchXXXXXX";
    if (!mkdtemp(directory.data()))
        return state.SkipWithError("no directory");
    directory += '/';
    Fd const out = Output();
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state) {
        lseek(out.Get(), 0, SEEK_SET);
        ImageCounter = 0; // the same files again
        RenderMessageHtml(out.Get(), text.c_str(), headers, directory.c_str(), sink);
    }
    std::filesystem::remove_all(directory);
}
BENCHMARK(MultipartPage)->Unit(benchmark::kMicrosecond);

void SavedAttachment(benchmark::State &state) {
    std::string const text = EncodedLines(10'000'000);
    PartHeaders part{};
    part.encoding[0] = 'b';
    part.body = text.data();
    part.bodyLength = static_cast<int32_t>(text.size());
    Fd const out = Output();
    WritePartContent(out.Get(), part);
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state) {
        lseek(out.Get(), 0, SEEK_SET);
        WritePartContent(out.Get(), part);
    }
}
BENCHMARK(SavedAttachment)->Unit(benchmark::kMicrosecond);

void Decode(benchmark::State &state) {
    std::string text = EncodedLines(10'000'000);
    std::erase_if(text, [](char byte) { return byte < 32; });
    auto const out = std::make_unique<char[]>(text.size());
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(DecodeBase64(out.get(), text));
}
BENCHMARK(Decode)->Unit(benchmark::kMicrosecond);

void Encode(benchmark::State &state) {
    std::string const bytes = EncodedLines(static_cast<size_t>(state.range(0)));
    auto const out = std::make_unique<char[]>(bytes.size() * 4 / 3 + bytes.size() / 45 * 2 + 80);
    Compared const compared(state, MemcpySeconds(bytes), bytes.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(Base64Encode(out.get(), bytes.data(), static_cast<int32_t>(bytes.size())));
}
BENCHMARK(Encode)->Arg(100'000)->Arg(50'000'000)->Unit(benchmark::kMicrosecond);

void Headers(benchmark::State &state) {
    std::string const text = HeaderBlock();
    auto const headers = std::make_unique<ParsedHeaders>();
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state) {
        ParseHeaders(text.c_str(), *headers);
        benchmark::DoNotOptimize(headers.get());
    }
}
BENCHMARK(Headers);

void Row(benchmark::State &state) {
    std::string const text = HeaderBlock();
    char row[201];
    Compared const compared(state, MemcpySeconds(text), text.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(FormatHeaderRow(text.c_str(), row, sizeof row));
}
BENCHMARK(Row);

} // namespace

BENCHMARK_MAIN();
