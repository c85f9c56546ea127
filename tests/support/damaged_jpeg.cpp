#include "tests/support/damaged_jpeg.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>

namespace harness {
namespace {

using Bytes = std::vector<std::uint8_t>;

void DamageOnce(Bytes& jpeg, std::mt19937& random) {
  const auto below = [&random](std::size_t limit) { return limit != 0 ? random() % limit : 0; };
  const auto offset = static_cast<std::ptrdiff_t>(below(jpeg.size()));
  const auto length = static_cast<std::ptrdiff_t>(below(jpeg.size() - static_cast<std::size_t>(offset)));
  // Most of what a decoder trusts stands near the beginning.
  const std::size_t header = below(std::min<std::size_t>(jpeg.size(), 700));
  switch (random() % 6) {
    case 0:
      jpeg.resize(static_cast<std::size_t>(offset));
      break;
    case 1:  // a marker or a length is another one
      for (std::size_t i = header; i < header + 2 && i < jpeg.size(); ++i)
        jpeg[i] = static_cast<std::uint8_t>(random());
      break;
    case 2:  // a marker where none belongs
      if (header + 1 < jpeg.size()) jpeg[header] = 0xFF, jpeg[header + 1] = static_cast<std::uint8_t>(random());
      break;
    case 3: {  // a piece twice
      const Bytes piece(jpeg.begin() + offset, jpeg.begin() + offset + length);
      jpeg.insert(jpeg.begin() + static_cast<std::ptrdiff_t>(header), piece.begin(), piece.end());
      break;
    }
    case 4:
      jpeg.erase(jpeg.begin() + offset, jpeg.begin() + offset + length);
      break;
    default:
      for (int i = 0; i < 8 && !jpeg.empty(); ++i) jpeg[below(jpeg.size())] ^= static_cast<std::uint8_t>(random());
      break;
  }
}

}  // namespace

std::vector<Bytes> JpegsIn(const std::filesystem::path& folder) {
  std::vector<Bytes> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".jpg") {
      std::ifstream file(entry.path(), std::ios::binary);
      files.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
  }
  return files;
}

std::vector<std::uint8_t> Damaged(std::vector<std::uint8_t> jpeg, std::mt19937& random) {
  for (std::size_t i = 1 + random() % 3; i > 0; --i) DamageOnce(jpeg, random);
  return jpeg;
}

}  // namespace harness
