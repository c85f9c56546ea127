#include "core/jpeg_strips.h"

#include <algorithm>
#include <array>

namespace scanning {
namespace {

constexpr std::size_t kMarkerSize = 2;
constexpr std::array<std::uint8_t, kMarkerSize> kEndOfImage = {0xFF, 0xD9};

int BigEndian(JpegBytes bytes, std::size_t at) { return bytes[at] << 8 | bytes[at + 1]; }

std::array<std::uint8_t, 2> BigEndian(int value) {
  return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

// What a strip's header tells.
struct Header {
  std::size_t heightAt = 0;
  std::size_t scanHeader = 0;
  std::size_t data = 0;
  int width = 0;
  int height = 0;
  int unitWidth = 0;
  int unitHeight = 0;
  int components = 0;
};

// frame: the segment of a frame header, from its length on.
bool ReadFrame(JpegBytes frame, Header& header) {
  constexpr std::size_t kFirstComponent = 8;
  constexpr std::size_t kComponentSize = 3;
  constexpr int kBlock = 8;
  if (frame.size() < kFirstComponent) {
    return false;
  }
  header.height = BigEndian(frame, 3);
  header.width = BigEndian(frame, 5);
  header.components = frame[7];
  if (frame.size() != kFirstComponent + kComponentSize * static_cast<std::size_t>(header.components)) {
    return false;
  }
  int across = 1;
  int down = 1;
  for (std::size_t at = kFirstComponent + 1; at < frame.size(); at += kComponentSize) {
    across = std::max(across, frame[at] >> 4);
    down = std::max(down, frame[at] & 0xF);
  }
  // A single component is coded block by block, whatever its sampling factors say.
  header.unitWidth = header.components == 1 ? kBlock : kBlock * across;
  header.unitHeight = header.components == 1 ? kBlock : kBlock * down;
  return header.width > 0 && header.height > 0;
}

std::optional<Header> ReadHeader(JpegBytes file) {
  constexpr std::uint8_t kBaseline = 0xC0;
  constexpr std::uint8_t kSequential = 0xC1;
  constexpr std::uint8_t kLastFrame = 0xCF;
  constexpr std::uint8_t kHuffmanTables = 0xC4;
  constexpr std::uint8_t kScan = 0xDA;
  constexpr std::uint8_t kRestartInterval = 0xDD;
  constexpr std::size_t kSmallestSegment = 4;  // marker and length
  constexpr std::size_t kFrameHeight = 5;      // from the marker on

  Header header;
  for (std::size_t at = kMarkerSize; at + kSmallestSegment < file.size();) {
    const std::uint8_t marker = file[at + 1];
    const auto length = static_cast<std::size_t>(BigEndian(file, at + kMarkerSize));
    if (file[at] != 0xFF || length < 2 || length > file.size() - at - kMarkerSize || marker == kRestartInterval) {
      return std::nullopt;
    }
    const JpegBytes segment = file.subspan(at + kMarkerSize, length);
    if (marker == kBaseline || marker == kSequential) {
      header.heightAt = at + kFrameHeight;
      if (!ReadFrame(segment, header)) {
        return std::nullopt;
      }
    } else if (marker > kSequential && marker <= kLastFrame && marker != kHuffmanTables) {
      return std::nullopt;
    }
    if (marker == kScan) {
      header.scanHeader = at;
      header.data = at + kMarkerSize + length;
      const bool ends =
          file.size() - header.data >= kMarkerSize && std::ranges::equal(file.last(kMarkerSize), kEndOfImage);
      const bool onlyScan = header.components > 0 && length > 2 && segment[2] == header.components;
      return ends && onlyScan ? std::optional(header) : std::nullopt;
    }
    at += kMarkerSize + length;
  }
  return std::nullopt;
}

// Whether two strips' headers say the same but for the height.
bool SameHeaders(JpegBytes one, JpegBytes other, const Header& header) {
  const auto same = [&](std::size_t from, std::size_t to) {
    return std::ranges::equal(one.subspan(from, to - from), other.subspan(from, to - from));
  };
  return one.size() >= header.data && other.size() >= header.data && same(0, header.heightAt) &&
         same(header.heightAt + 2, header.data);
}

}  // namespace

std::optional<JoinedJpeg> JoinedJpeg::Of(std::span<const JpegBytes> strips) {
  if (strips.empty()) {
    return std::nullopt;
  }
  const std::optional<Header> first = ReadHeader(strips[0]);
  if (!first || (strips.size() > 1 && first->height % first->unitHeight != 0)) {
    return std::nullopt;
  }
  int height = first->height;
  for (std::size_t i = 1; i < strips.size(); ++i) {
    const std::optional<Header> next = ReadHeader(strips[i]);
    const bool isLast = i + 1 == strips.size();
    if (!next || !SameHeaders(strips[0], strips[i], *first) || next->height > first->height ||
        (!isLast && next->height != first->height)) {
      return std::nullopt;
    }
    height += next->height;
  }
  const int unitsInRow = (first->width + first->unitWidth - 1) / first->unitWidth;
  const int rows = (first->height + first->unitHeight - 1) / first->unitHeight;
  constexpr int kLargestHeight = 65535;
  if (height > kLargestHeight || unitsInRow * rows > kMostUnits) {
    return std::nullopt;
  }

  JoinedJpeg joined;
  joined.m_strips = strips;
  joined.m_heightAt = first->heightAt;
  joined.m_scanHeader = first->scanHeader;
  joined.m_data = first->data;
  joined.m_height = height;
  joined.m_restartInterval = unitsInRow * rows;
  return joined;
}

bool JoinedJpeg::WriteTo(const std::function<bool(JpegBytes)>& write) const {
  const JpegBytes first = m_strips[0];
  const auto height = BigEndian(m_height);
  const auto interval = BigEndian(m_restartInterval);
  const std::array<std::uint8_t, 6> restartInterval = {0xFF, 0xDD, 0, 4, interval[0], interval[1]};
  const std::size_t behindHeight = m_heightAt + height.size();
  if (!write(first.first(m_heightAt)) || !write(height) ||
      !write(first.subspan(behindHeight, m_scanHeader - behindHeight)) || !write(restartInterval) ||
      !write(first.subspan(m_scanHeader, m_data - m_scanHeader))) {
    return false;
  }
  for (std::size_t i = 0; i < m_strips.size(); ++i) {
    const JpegBytes strip = m_strips[i];
    const bool isLast = i + 1 == m_strips.size();
    // The markers between intervals are numbered from 0 to 7, over and over.
    const std::array<std::uint8_t, kMarkerSize> restart = {0xFF, static_cast<std::uint8_t>(0xD0 + i % 8)};
    if (!write(strip.subspan(m_data, strip.size() - m_data - kMarkerSize)) || !write(isLast ? kEndOfImage : restart)) {
      return false;
    }
  }
  return true;
}

}  // namespace scanning
