#pragma once
// What the page server and the view that started it say to each other, over a SOCK_SEQPACKET pair whose far end is
// descriptor 3 of the server. One packet is one message: a Header, a text of `text_size` bytes, and for pages and
// images one descriptor, a sealed memory file.
//
//   view                          server
//                                 Hello   value[0] = kVersion, value[1] = 1 when no image is decoded, since the
//                                         system has nothing to shut a decoder in with; else 0
//   Load   id, text = URL
//                                 Page    id, value = {images, bytes}, descriptor = clean HTML in UTF-8
//                                 Image   id, value = {n, width, height}, descriptor = RGBA, 4 bytes a pixel; or
//                                         {n, 0, 0} without one: the image could not be shown, text = its name
//                                 Error   id, text = why there is no page (instead of Page); value[0] = 1 when it
//                                         is to be read in the page's place
//   Quit                          (ends; so does the end of the connection)
//
// A Page or Error also says that the page and its images have been opened: the files may change from then on. A Load
// ends the one before it; the view drops what still arrives under an earlier id. Neither side trusts the other: a
// message that breaks these rules ends the connection.

#include "system/fd.h"
#include "system/memory_file.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vserver {

constexpr int kServerSocket = 3; ///< the server's end
constexpr uint32_t kMagic = 0x31505356, kVersion = 2;
constexpr size_t kMaxText = 4096;                     ///< URLs and error texts, bytes
constexpr size_t kMaxPageBytes = 16u << 20;           ///< a page's file
constexpr size_t kMaxImageBytes = 32u << 20;          ///< an image's file
constexpr size_t kMaxCleanBytes = 64u << 20;          ///< a clean page
constexpr uint32_t kMaxImages = 200;                  ///< different images in a page
constexpr uint32_t kMaxImageSide = 16384;             ///< pixels
constexpr uint64_t kMaxImagePixels = 40'000'000;      ///< of one image
constexpr uint64_t kMaxPageImagePixels = 100'000'000; ///< of all images of a page

enum class Kind : uint16_t { Hello = 1, Load, Page, Image, Error, Quit };

struct Header {
    uint32_t magic = kMagic;
    Kind kind = Kind::Hello;
    uint16_t text_size = 0;
    uint32_t id = 0;
    std::array<uint32_t, 3> value{};
};

struct Packet {
    Header header;
    std::string text;
    Fd descriptor; ///< close-on-exec
};

/// Sends one message; `descriptor` -1 for none (it stays the caller's). Waits while the other side's queue is full.
/// Returns 0 or an errno; a closed connection is EPIPE, never a signal.
int Send(int socket, Kind kind, uint32_t id, std::array<uint32_t, 3> value = {}, std::string_view text = {},
         int descriptor = -1);

enum class Received { Message, Nothing, Closed, Bad };

/// Takes the next message without waiting. Bad: its sizes, magic, kind, version, descriptor or counts break the rules
/// above (descriptors that came with it are closed); whether the id is of interest is for the caller to say.
Received Receive(int socket, Packet &packet);

} // namespace vserver
