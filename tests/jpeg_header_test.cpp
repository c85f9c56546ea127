#include "core/jpeg_header.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/damaged_jpeg.h"
#include "tests/support/machine.h"

namespace {

using namespace page;
using Content = std::vector<std::uint8_t>;

TEST(JpegHeader, FindsTheFrameAmongOtherSegments) {
  const Content start = {0xFF, 0xD8}, application = {0xFF, 0xE0, 0, 4, 1, 2}, tables = {0xFF, 0xC4, 0, 3, 9};
  const Content frame = {0xFF, 0xC2, 0, 11, 8, 1, 0, 2, 3}, fill = {0xFF}, scan = {0xFF, 0xDA, 0, 2, 0, 0, 0, 0, 0};
  const auto pixels = [&](std::initializer_list<Content> parts) {
    Content all = start;
    for (const Content& part : parts) all.insert(all.end(), part.begin(), part.end());
    return ClaimedPixels(all);
  };
  EXPECT_EQ(pixels({frame}), 0x100 * 0x203);
  EXPECT_EQ(pixels({application, tables, fill, fill, application, frame}), 0x100 * 0x203);
  EXPECT_EQ(pixels({scan, frame}), 0) << "the image data come first";
  for (const int code : {0xC0, 0xC3, 0xC4, 0xC5, 0xC8, 0xC9, 0xCC, 0xCD, 0xCF}) {
    Content coded = frame;
    coded[1] = static_cast<std::uint8_t>(code);
    const bool isFrame = code != 0xC4 && code != 0xC8 && code != 0xCC;  // those: tables, reserved, conditioning
    EXPECT_EQ(pixels({coded}), isFrame ? 0x100 * 0x203 : 0) << code;
  }
  EXPECT_EQ(pixels({{0x69, 0xC8, 0}, {0xFF, 0}, {0xFF, 0xD0}, {0xFF, 0xD7}, {0xFF, 0x01}, frame}), 0x100 * 0x203)
      << "decoders skip all that";
  EXPECT_EQ(pixels({application, Content(frame.begin(), frame.end() - 1)}), 0) << "cut off";
  Content endless = start;
  for (int i = 0; i < 5000; ++i) endless.insert(endless.end(), {0xFF, 0xE1, 0, 2});
  EXPECT_EQ(ClaimedPixels(endless), 0);
  EXPECT_TRUE(IsTooMuchForJpeg(30000LL * 30000, 331));
  EXPECT_FALSE(IsTooMuchForJpeg(512, 1));
  EXPECT_TRUE(IsTooMuch(24000LL * 24000, 1'000'000'000)) << "GDI+ holds no more";
  EXPECT_TRUE(IsTooMuch(20000LL * 20000, 331));
  EXPECT_FALSE(IsTooMuch(4961LL * 7016, 900)) << "a blank page in a fax code";
}

// Under the sanitizers natively: whatever the bytes, nothing is read past them, and the search ends.
TEST(JpegHeader, SurvivesDamage) {
  const std::vector<Content> kinds = harness::JpegsIn(harness::TestData());
  for (const Content& kind : kinds) EXPECT_GT(ClaimedPixels(kind), 0);
  ASSERT_GE(kinds.size(), 5U);
  const char* wanted = std::getenv("WSD_MUTATIONS");
  const long mutations = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 20000;
  std::mt19937 random(5);
  long lost = 0;
  for (long i = 0; i < mutations; ++i) {
    Content file = harness::Damaged(kinds[static_cast<std::size_t>(i) % kinds.size()], random);
    file.shrink_to_fit();  // so that the sanitizer sees a read past the end
    const std::int64_t pixels = ClaimedPixels(file);
    ASSERT_TRUE(pixels >= 0 && pixels <= 0xFFFFLL * 0xFFFF) << i;
    lost += pixels == 0 ? 1 : 0;
  }
  EXPECT_GT(lost, 0);
  EXPECT_LT(lost, mutations);
}

}  // namespace
