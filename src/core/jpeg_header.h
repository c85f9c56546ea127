// What the header of a JPEG file says before the file is decoded: only what bounds the memory that decoding takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace page {

// A larger header's frame is not found: profiles and embedded previews take some hundred thousand bytes at most.
inline constexpr std::size_t kLargestHeader = std::size_t{1} << 20;

// Whether the file begins as a JPEG does.
bool BeginsAsJpeg(std::span<const std::uint8_t> header);

// The number of pixels that the frame header names; 0 when none is found before the image data. header: the file's
// first bytes.
std::int64_t ClaimedPixels(std::span<const std::uint8_t> header);

// Whether so many pixels take more bytes than the JPEG file has, or more than GDI+ can hold.
bool IsTooMuchForJpeg(std::int64_t pixels, std::int64_t fileSize);

// The same for a file of any other format.
bool IsTooMuch(std::int64_t pixels, std::int64_t fileSize);

}  // namespace page
