#include "tests/support/damaged_jpeg.h"

#include <cstddef>
#include <fstream>
#include <iterator>

namespace simulator {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Below(std::mt19937& random, std::size_t limit) { return limit != 0 ? random() % limit : 0; }

// Offsets of the markers before the image data, or of all bytes 0xFF when they can't be followed.
std::vector<std::size_t> Markers(const Bytes& jpeg) {
  std::vector<std::size_t> markers;
  for (std::size_t i = 0; i + 1 < jpeg.size(); ++i) {
    if (jpeg[i] == 0xFF && jpeg[i + 1] != 0) {
      markers.push_back(i);
    }
  }
  return markers;
}

void Overwrite(Bytes& jpeg, std::size_t offset, std::initializer_list<int> bytes) {
  for (const int value : bytes) {
    if (offset < jpeg.size()) {
      jpeg[offset++] = static_cast<std::uint8_t>(value);
    }
  }
}

void Insert(Bytes& jpeg, std::size_t offset, const Bytes& piece) {
  jpeg.insert(jpeg.begin() + static_cast<std::ptrdiff_t>(offset), piece.begin(), piece.end());
}

// The header of an EXIF block whose directory claims more entries than it holds, and points outside.
Bytes BrokenExif(std::mt19937& random) {
  Bytes exif = {0xFF, 0xE1, 0, 40, 'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0};
  for (int i = 0; i < 24; ++i) {
    exif.push_back(static_cast<std::uint8_t>(random()));
  }
  return exif;
}

void DamageOnce(Bytes& jpeg, std::mt19937& random) {
  const std::vector<std::size_t> markers = Markers(jpeg);
  const std::size_t marker = markers.empty() ? 0 : markers[Below(random, markers.size())];
  const std::size_t anywhere = Below(random, jpeg.size());
  const auto byte = [&random] { return static_cast<int>(random() & 0xFF); };
  switch (random() % 10) {
    case 0:  // cut off
      jpeg.resize(anywhere);
      break;
    case 1:  // bits turned
      for (std::size_t i = 1 + Below(random, 8); i > 0 && !jpeg.empty(); --i) {
        jpeg[Below(random, jpeg.size())] ^= static_cast<std::uint8_t>(1U << (random() % 8));
      }
      break;
    case 2:  // a segment's length lies
      Overwrite(jpeg, marker + 2, {byte(), byte()});
      break;
    case 3:  // the image's size lies
      for (const std::size_t frame : markers) {
        if (frame + 1 < jpeg.size() && (jpeg[frame + 1] == 0xC0 || jpeg[frame + 1] == 0xC2)) {
          Overwrite(jpeg, frame + 5, {byte(), byte(), byte(), byte()});
        }
      }
      break;
    case 4:  // a marker is another one
      Overwrite(jpeg, marker + 1, {byte()});
      break;
    case 5:  // a marker where none belongs
      Overwrite(jpeg, anywhere, {0xFF, byte()});
      break;
    case 6:
      Insert(jpeg, jpeg.size() < 2 ? 0 : 2, BrokenExif(random));
      break;
    case 7: {  // a piece twice
      const std::size_t end = anywhere + Below(random, jpeg.size() - anywhere);
      Insert(
          jpeg, marker,
          Bytes(jpeg.begin() + static_cast<std::ptrdiff_t>(anywhere), jpeg.begin() + static_cast<std::ptrdiff_t>(end)));
      break;
    }
    case 8:  // a piece lost
      jpeg.erase(jpeg.begin() + static_cast<std::ptrdiff_t>(anywhere),
                 jpeg.begin() + static_cast<std::ptrdiff_t>(anywhere + Below(random, jpeg.size() - anywhere)));
      break;
    default:  // overwritten with noise
      for (std::size_t i = Below(random, 40); i > 0; --i) {
        Overwrite(jpeg, anywhere + i, {byte()});
      }
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
  for (std::size_t i = 1 + random() % 3; i > 0; --i) {
    DamageOnce(jpeg, random);
  }
  return jpeg;
}

}  // namespace simulator
