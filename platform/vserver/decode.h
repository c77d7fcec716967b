#pragma once
// Decoding of images, in a worker.

namespace vserver {

/// Loads the code of all image formats, so that workers open nothing. Once, before the first fork.
void LoadImageFormats();

/// A worker's job: input an image file (PNG, JPEG, GIF, BMP, WebP; told by its content), output its first frame as
/// RGBA rows without gaps, info two uint32_t, width and height. Refuses by the header what is over kMaxImageSide or
/// kMaxImagePixels, before anything is decoded.
bool DecodeImageJob();

} // namespace vserver
