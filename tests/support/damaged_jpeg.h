// JPEG files as a broken disk, line or device leaves them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <vector>

namespace harness {

// The contents of the folder's JPEG files.
std::vector<std::vector<std::uint8_t>> JpegsIn(const std::filesystem::path& folder);

// The file with one to three damages: cut off, markers, lengths and sizes that lie, pieces lost or doubled, noise. The
// same seed gives the same damage.
std::vector<std::uint8_t> Damaged(std::vector<std::uint8_t> jpeg, std::mt19937& random);

}  // namespace harness
