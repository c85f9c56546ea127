// Strips of one picture, each encoded as a JPEG file of its own, put together to one file without decoding them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace scanning {

using JpegBytes = std::span<const std::uint8_t>;

// The sides of the largest unit (MCU) that JPEG data are coded in, in pixels; each smaller one divides it.
constexpr int kLargestUnit = 16;
// The most units that a restart interval holds: it counts them in 16 bits.
constexpr int kMostUnits = 65535;

// How strips for so many threads are cut out of a picture: the height of all but the last, which may be lower. A
// multiple of kLargestUnit, and never more than a restart interval holds. width, height, threads: at least 1.
constexpr int StripHeight(int width, int height, int threads) {
  constexpr int kSmallestUnit = 8;
  const int unitsInRow = (width + kSmallestUnit - 1) / kSmallestUnit;
  const int most = kMostUnits / unitsInRow * kSmallestUnit / kLargestUnit * kLargestUnit;
  const int rounds = (height + most * threads - 1) / (most * threads);
  const int count = rounds * threads;
  const int even = (height + count - 1) / count;
  return (even + kLargestUnit - 1) / kLargestUnit * kLargestUnit;
}

// The joined file. The first strip's header stands for all, and each strip's data become a restart interval, at whose
// start a decoder begins afresh, as the strip's encoder did: the pixels are those of the strips.
class JoinedJpeg {
 public:
  // strips: whole files from the top down; they must stay where they are. No value unless all have the same tables and
  // width and were coded sequentially in one scan, and all but the last have the same number of full rows of units.
  static std::optional<JoinedJpeg> Of(std::span<const JpegBytes> strips);

  // Hands over the file piece by piece. Ends with false as soon as `write` returns it.
  bool WriteTo(const std::function<bool(JpegBytes)>& write) const;

 private:
  JoinedJpeg() = default;

  std::span<const JpegBytes> m_strips;
  std::size_t m_heightAt = 0;    // offsets in every strip: of the height,
  std::size_t m_scanHeader = 0;  // of the marker that begins the scan,
  std::size_t m_data = 0;        // and of the data behind its header
  int m_height = 0;              // of the whole, in pixels
  int m_restartInterval = 0;     // in units
};

}  // namespace scanning
