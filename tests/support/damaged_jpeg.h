// JPEG files as a broken disk, line or device leaves them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

namespace harness {

// The contents of the folder's JPEG files.
inline std::vector<std::vector<std::uint8_t>> JpegsIn(const std::filesystem::path& folder) {
  std::vector<std::vector<std::uint8_t>> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".jpg") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    files.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return files;
}

// The file with one to three damages: cut off, markers, lengths and sizes that lie, pieces lost or doubled, noise. The
// same seed gives the same damage.
inline std::vector<std::uint8_t> Damaged(std::vector<std::uint8_t> jpeg, std::mt19937& random) {
  for (std::size_t times = 1 + random() % 3; times > 0 && jpeg.size() > 1; --times) {
    const auto place = [&](std::size_t limit) { return jpeg.begin() + static_cast<std::ptrdiff_t>(random() % limit); };
    const auto at = place(jpeg.size());
    const auto end = at + static_cast<std::ptrdiff_t>(random() % static_cast<std::size_t>(jpeg.end() - at));
    // Most of what a decoder trusts stands near the beginning.
    const auto header = place(std::min<std::size_t>(jpeg.size() - 1, 700));
    const std::vector<std::uint8_t> piece(at, end);
    const auto kind = random() % 5;
    if (kind == 0) {
      jpeg.erase(at, jpeg.end());
    } else if (kind == 1) {
      jpeg.erase(at, end);
    } else if (kind == 2) {
      jpeg.insert(header, piece.begin(), piece.end());
    } else if (kind == 3) {
      header[0] = random() % 2 == 0 ? 0xFF : static_cast<std::uint8_t>(random());
      header[1] = static_cast<std::uint8_t>(random());
    } else {
      for (int i = 0; i < 8; ++i) *place(jpeg.size()) ^= static_cast<std::uint8_t>(random());
    }
  }
  return jpeg;
}

}  // namespace harness
