// What the bytes of a JPEG file say before it is decoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace scanning {

// A file's bytes, as few of them as are asked for.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Total number of bytes; 0 when it is not known.
  virtual std::int64_t Size() const = 0;
  // Copies the bytes from an offset on; the number that were there.
  virtual std::size_t ReadAt(std::int64_t offset, std::span<std::uint8_t> bytes) const = 0;
};

// Whether it begins as a JPEG does.
bool BeginsAsJpeg(const ByteSource& file);

// The number of pixels that the frame header names; 0 when none is found before the image data.
std::int64_t ClaimedPixels(const ByteSource& file);

// Whether so many pixels take more bytes than the file has, or more than GDI+ can hold.
bool IsTooMuch(std::int64_t pixels, std::int64_t fileSize);

// Whether the file is a JPEG that can be whole: see IsWholeJpeg in jpeg_file.h.
bool CanBeWholeJpeg(const ByteSource& file);

}  // namespace scanning
