#include "vserver/decode.h"

#include "vserver/files.h"
#include "vserver/worker.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QThreadPool>

namespace vserver {
namespace {

constexpr struct {
    char const *format;
    std::string_view start; ///< of a file
    size_t offset;          ///< of a second mark
    std::string_view mark;
} kFormats[] = {
    {"png", "\x89PNG\r\n\x1a\n", 0, ""},
    {"jpeg", "\xff\xd8\xff", 0, ""},
    {"gif", "GIF8", 0, ""},
    {"bmp", "BM", 0, ""},
    {"webp", "RIFF", 8, "WEBP"},
};

/// The format of a file by its first bytes, null when it is none of ours. Qt's own guessing would try every plugin.
char const *FormatOf(std::string_view bytes) {
    for (auto const &[format, start, offset, mark] : kFormats)
        if (bytes.starts_with(start) && bytes.size() > offset && bytes.substr(offset).starts_with(mark))
            return format;
    return nullptr;
}

bool IsAcceptable(QSize size) {
    if (size.width() < 1 || size.height() < 1)
        return false;
    auto const width = static_cast<uint32_t>(size.width()), height = static_cast<uint32_t>(size.height());
    return width <= kMaxImageSide && height <= kMaxImageSide && uint64_t{width} * height <= kMaxImagePixels;
}

/// Writes the image as RGBA. In strips, because Qt converts larger pieces in threads, which a worker has not.
bool WritePixels(QImage const &image, int output) {
    constexpr int kStripPixels = 65'535;
    int const width = image.width(), rows = std::max(1, kStripPixels / width);
    for (int y = 0; y < image.height(); y += rows) {
        QImage const strip =
            image.copy(0, y, width, std::min(rows, image.height() - y)).convertToFormat(QImage::Format_RGBA8888);
        if (strip.isNull())
            return false;
        // Rows of four-byte pixels have no gaps.
        if (!WriteAll(output,
                      {reinterpret_cast<char const *>(strip.constBits()), static_cast<size_t>(strip.sizeInBytes())}))
            return false;
    }
    return true;
}

} // namespace

void LoadImageFormats() {
    constexpr int kMegabytesOfOneImage = 384; // 40 million pixels of 8 bytes
    QImageReader::setAllocationLimit(kMegabytesOfOneImage);
    QThreadPool::globalInstance(); // asks for the number of processors, which a worker may not
    for (auto const &format : kFormats) {
        QBuffer buffer;
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, format.format);
        reader.setAutoDetectImageFormat(false);
        reader.canRead();
    }
}

bool DecodeImageJob() {
    std::string bytes;
    if (!ReadFile(kWorkerInput, kMaxImageBytes, bytes))
        return false;
    char const *const format = FormatOf(bytes);
    if (!format)
        return false;
    QByteArray const array = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer;
    buffer.setData(array);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    QImage image;
    if (!IsAcceptable(reader.size()) || !reader.read(&image) || !IsAcceptable(image.size()))
        return false;
    uint32_t const size[] = {static_cast<uint32_t>(image.width()), static_cast<uint32_t>(image.height())};
    return WritePixels(image, kWorkerOutput) &&
           WriteAll(kWorkerInfo, {reinterpret_cast<char const *>(size), sizeof size});
}

} // namespace vserver
