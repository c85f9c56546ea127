#include "core/jpeg_header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/damaged_jpeg.h"

namespace {

using namespace scanning;
using Content = std::vector<std::uint8_t>;

struct Bytes final : ByteSource {
  explicit Bytes(Content bytes) : content(std::move(bytes)) {}
  std::int64_t Size() const override { return static_cast<std::int64_t>(content.size()); }
  std::size_t ReadAt(std::int64_t offset, std::span<std::uint8_t> bytes) const override {
    ++reads;
    EXPECT_GE(offset, 0);
    const auto from = std::min<std::int64_t>(offset, Size());
    const auto count = std::min<std::int64_t>(static_cast<std::int64_t>(bytes.size()), Size() - from);
    std::copy_n(content.begin() + from, count, bytes.begin());
    return static_cast<std::size_t>(count);
  }
  Content content;
  mutable int reads = 0;
};

TEST(JpegHeader, FindsTheFrameAmongOtherSegments) {
  const Content start = {0xFF, 0xD8}, application = {0xFF, 0xE0, 0, 4, 1, 2}, tables = {0xFF, 0xC4, 0, 3, 9};
  const Content frame = {0xFF, 0xC2, 0, 11, 8, 1, 0, 2, 3}, fill = {0xFF}, scan = {0xFF, 0xDA, 0, 2, 0, 0, 0, 0, 0};
  const auto pixels = [&](std::initializer_list<Content> parts) {
    Content all = start;
    for (const Content& part : parts) all.insert(all.end(), part.begin(), part.end());
    return ClaimedPixels(Bytes(all));
  };
  EXPECT_EQ(pixels({frame}), 0x100 * 0x203);
  EXPECT_EQ(pixels({application, tables, fill, fill, application, frame}), 0x100 * 0x203);
  EXPECT_EQ(pixels({scan, frame}), 0) << "the image data come first";
  EXPECT_EQ(pixels({{0x69, 0xC8, 0}, {0xFF, 0}, {0xFF, 0xD3}, frame}), 0x100 * 0x203) << "decoders skip all that";
  EXPECT_EQ(pixels({application, Content(frame.begin(), frame.end() - 1)}), 0) << "cut off";
  Content endless = start;
  for (int i = 0; i < 5000; ++i) endless.insert(endless.end(), {0xFF, 0xE1, 0, 2});
  const Bytes segments(endless);
  EXPECT_EQ(ClaimedPixels(segments), 0);
  EXPECT_LE(segments.reads, 2048) << "the search gives up";
  EXPECT_TRUE(IsTooMuch(30000LL * 30000, 331));
  EXPECT_FALSE(IsTooMuch(512, 1));
}

// Under the sanitizers natively: whatever the bytes, nothing is read past them, and the search ends.
TEST(JpegHeader, SurvivesDamage) {
  const std::vector<Content> kinds = simulator::JpegsIn(WSD_TEST_DATA);
  for (const Content& kind : kinds) EXPECT_TRUE(CanBeWholeJpeg(Bytes(kind)));
  ASSERT_GE(kinds.size(), 5U);
  const char* wanted = std::getenv("WSD_MUTATIONS");
  const long mutations = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 20000;
  std::mt19937 random(5);
  long whole = 0;
  for (long i = 0; i < mutations; ++i) {
    const Bytes file(simulator::Damaged(kinds[static_cast<std::size_t>(i) % kinds.size()], random));
    const std::int64_t pixels = ClaimedPixels(file);
    ASSERT_TRUE(pixels >= 0 && pixels <= 0xFFFFLL * 0xFFFF) << i;
    if (CanBeWholeJpeg(file)) {
      ++whole;
      ASSERT_TRUE(BeginsAsJpeg(file) && pixels > 0 && pixels <= file.Size() * 512 + 511) << i;
    }
    ASSERT_LE(file.reads, 2100) << i;
  }
  EXPECT_GT(whole, 0);
  EXPECT_LT(whole, mutations);
}

}  // namespace
