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
  const auto below = [&random](std::size_t limit) { return limit != 0 ? random() % limit : 0; };
  const auto anything = [&random] { return static_cast<std::uint8_t>(random()); };
  for (std::size_t times = 1 + random() % 3; times > 0 && jpeg.size() > 1; --times) {
    const auto at = jpeg.begin() + static_cast<std::ptrdiff_t>(below(jpeg.size()));
    const auto end = at + static_cast<std::ptrdiff_t>(below(static_cast<std::size_t>(jpeg.end() - at)));
    // Most of what a decoder trusts stands near the beginning.
    const auto header = jpeg.begin() + static_cast<std::ptrdiff_t>(below(std::min<std::size_t>(jpeg.size() - 1, 700)));
    const std::vector<std::uint8_t> piece(at, end);
    switch (random() % 6) {
      case 0:
        jpeg.erase(at, jpeg.end());
        break;
      case 1:
        header[0] = anything(), header[1] = anything();
        break;  // a marker or a length is another one
      case 2:
        header[0] = 0xFF, header[1] = anything();
        break;  // a marker where none belongs
      case 3:
        jpeg.insert(header, piece.begin(), piece.end());
        break;
      case 4:
        jpeg.erase(at, end);
        break;
      default:
        for (int i = 0; i < 8; ++i) jpeg[below(jpeg.size())] ^= anything();
    }
  }
  return jpeg;
}

}  // namespace harness
