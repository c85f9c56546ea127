// JPEG files as a broken disk, line or device leaves them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <vector>

namespace simulator {

// The contents of the folder's JPEG files.
std::vector<std::vector<std::uint8_t>> JpegsIn(const std::filesystem::path& folder);

// The file with one to three damages: cut off, bits turned, segment lengths and sizes that lie, markers lost, doubled
// or put where none belongs, a broken EXIF block, pieces repeated or overwritten. The same seed gives the same damage.
std::vector<std::uint8_t> Damaged(std::vector<std::uint8_t> jpeg, std::mt19937& random);

}  // namespace simulator
