#include "bench/bench.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "simulator/jpeg_encoding.h"
#include "simulator/page_renderer.h"

namespace bench {
namespace {

// A soft picture under the grain of a photograph: the same sum of even distributions in all channels of a pixel, and a
// little of its own in each.
std::vector<BYTE> NoisePage(const Page& page) {
  simulator::Pixels pixels;
  pixels.width = static_cast<UINT>(std::lround(page.widthMm * page.dpi / kMillimetresPerInch));
  pixels.height = static_cast<UINT>(std::lround(page.heightMm * page.dpi / kMillimetresPerInch));
  pixels.stride = (pixels.width * 3 + 3) / 4 * 4;
  pixels.bytes.resize(std::size_t{pixels.stride} * pixels.height);
  std::vector<int> wave(pixels.width);
  for (UINT x = 0; x < pixels.width; ++x) {
    wave[x] = static_cast<int>(60 * std::sin(9.0 * x / pixels.width));
  }
  std::uint64_t state = 0x9E3779B97F4A7C15;
  for (UINT y = 0; y < pixels.height; ++y) {
    const int level = 128 + static_cast<int>(40 * std::sin(7.0 * y / pixels.height));
    BYTE* row = &pixels.bytes[std::size_t{pixels.stride} * y];
    for (UINT x = 0; x < pixels.width; ++x) {
      state = state * 6364136223846793005 + 1442695040888963407;
      const auto bits = static_cast<int>(state >> 44);
      const int grain = (bits & 31) + (bits >> 5 & 31) + (bits >> 10 & 31) + (bits >> 15 & 31) - 62;
      for (UINT channel = 0; channel < 3; ++channel) {
        const int tint = static_cast<int>(state >> (28 + 4 * channel) & 15) - 8;
        row[3 * x + channel] = static_cast<BYTE>(std::clamp(level + wave[x] + grain + tint, 0, 255));
      }
    }
  }
  return simulator::EncodeJpeg(pixels, page.dpi, page.dpi);
}

std::vector<BYTE> EasyPage(const Page& page) {
  simulator::PageSettings settings;
  settings.dpiX = settings.dpiY = page.dpi;  // A4
  const simulator::EncodedPage encoded = simulator::RenderPage(settings);
  return encoded != nullptr ? *encoded : std::vector<BYTE>();
}

}  // namespace

std::vector<Page> MakePages(const std::wstring& folder) {
  const struct {
    const char* name;
    int widthMm;
    int heightMm;
    int dpi;
    bool noise;
  } kinds[] = {{"A4 75 dpi, noise", 210, 297, 75, true},   {"A4 200 dpi, noise", 210, 297, 200, true},
               {"A4 300 dpi, noise", 210, 297, 300, true}, {"A4 300 dpi, easy", 210, 297, 300, false},
               {"A4 600 dpi, noise", 210, 297, 600, true}, {"A3 600 dpi, noise", 297, 420, 600, true}};
  std::vector<Page> pages;
  for (const auto& kind : kinds) {
    const std::filesystem::path file = std::filesystem::path(folder) / (std::string(kind.name) + ".jpg");
    const Page page{kind.name, file.wstring(), kind.widthMm, kind.heightMm, kind.dpi};
    if (!std::filesystem::exists(file)) {
      const std::vector<BYTE> bytes = kind.noise ? NoisePage(page) : EasyPage(page);
      std::ofstream(file, std::ios::binary)
          .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
      if (bytes.empty()) {
        throw std::runtime_error("the page can't be made: " + page.name);
      }
    }
    pages.push_back(page);
  }
  return pages;
}

const Page& FindPage(std::span<const Page> pages, const std::string& name) {
  return *std::find_if(pages.begin(), pages.end(), [&](const Page& page) { return page.name == name; });
}

}  // namespace bench
