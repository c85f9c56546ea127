#include "core/jpeg_strips.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/damaged_jpeg.h"

namespace {

using namespace scanning;
using Content = std::vector<std::uint8_t>;

struct Kind {
  std::uint8_t frame = 0xC0, sampling = 0x22, components = 3, inScan = 3, table = 7;
  Content extra = {};
};

Content Strip(int width, int height, const Content& data, const Kind& kind = {}) {
  const auto low = [](int value) { return static_cast<std::uint8_t>(value); };
  Content file = {0xFF, 0xD8, 0xFF, 0xC4, 0, 3, kind.table};
  file.insert(file.end(), kind.extra.begin(), kind.extra.end());
  file.insert(file.end(), {0xFF, kind.frame, 0, low(8 + 3 * kind.components), 8, low(height >> 8), low(height),
                           low(width >> 8), low(width), kind.components});
  for (std::uint8_t i = 0; i < kind.components; ++i)
    file.insert(file.end(), {i, i == 0 ? kind.sampling : low(0x11), 0});
  file.insert(file.end(), {0xFF, 0xDA, 0, 4, kind.inScan, 0});
  file.insert(file.end(), data.begin(), data.end());
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

// Empty when they can't be joined.
Content Joined(const std::vector<Content>& strips) {
  const std::vector<JpegBytes> files(strips.begin(), strips.end());
  Content whole;
  if (const auto joined = JoinedJpeg::Of(files)) {
    EXPECT_TRUE(joined->WriteTo([&](JpegBytes piece) {
      whole.insert(whole.end(), piece.begin(), piece.end());
      return true;
    }));
  }
  return whole;
}

TEST(JpegStrips, BecomeRestartIntervalsOfOneImage) {
  // 33 pixels are three units of 16; two rows of them in a strip of 32.
  Content expected = Strip(33, 9 * 32 + 5, {});
  expected.resize(expected.size() - 2);
  const std::size_t scan = expected.size() - 6;
  expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(scan), {0xFF, 0xDD, 0, 4, 0, 6});
  std::vector<Content> strips;
  for (std::uint8_t i = 0; i < 10; ++i) {
    strips.push_back(Strip(33, i < 9 ? 32 : 5, {i, 0xFF, 0}));
    expected.insert(expected.end(), {i, 0xFF, 0, 0xFF, static_cast<std::uint8_t>(0xD0 + i % 8)});
  }
  expected.back() = 0xD9;
  EXPECT_EQ(Joined(strips), expected);
  int pieces = 0;
  const std::vector<JpegBytes> files(strips.begin(), strips.end());
  EXPECT_FALSE(JoinedJpeg::Of(files)->WriteTo([&](JpegBytes) { return ++pieces < 3; }));
  EXPECT_EQ(pieces, 3) << "a full disk ends it";
}

TEST(JpegStrips, JoinOnlyWhatDecodesAsBefore) {
  const auto pair = [](const Kind& kind, int height = 16) {
    return !Joined({Strip(20, height, {1}, kind), Strip(20, height, {2}, kind)}).empty();
  };
  EXPECT_TRUE(pair({}));
  EXPECT_TRUE(pair({.frame = 0xC1}));
  EXPECT_FALSE(pair({.frame = 0xC2})) << "progressive";
  EXPECT_FALSE(pair({.frame = 0xC9})) << "arithmetic coding";
  EXPECT_FALSE(pair({.inScan = 1})) << "another scan follows";
  EXPECT_FALSE(pair({.extra = {0xFF, 0xDD, 0, 4, 0, 9}})) << "restart intervals of its own";
  EXPECT_FALSE(pair({}, 24)) << "ends within a unit of 16 rows";
  EXPECT_TRUE(pair({.sampling = 0x21}, 24)) << "units of 8 rows";
  EXPECT_TRUE(pair({.components = 1, .inScan = 1}, 24)) << "a single component goes by blocks";
  EXPECT_TRUE(Joined({}).empty());
  EXPECT_TRUE(Joined({Strip(20, 16, {}), Strip(20, 16, {}, {.table = 8})}).empty()) << "other tables";
  EXPECT_TRUE(Joined({Strip(20, 16, {}), Strip(21, 16, {})}).empty());
  EXPECT_TRUE(Joined({Strip(20, 16, {}), Strip(20, 32, {})}).empty()) << "more than one interval";
  EXPECT_TRUE(Joined({Strip(20, 32, {}), Strip(20, 16, {}), Strip(20, 32, {})}).empty());
  EXPECT_TRUE(Joined(std::vector<Content>(3, Strip(16, 32768, {}))).empty()) << "too high";
  EXPECT_FALSE(Joined(std::vector<Content>(2, Strip(65500, 256, {}))).empty()) << "65,504 units";
  EXPECT_TRUE(Joined(std::vector<Content>(2, Strip(65500, 272, {}))).empty()) << "more than 16 bits count";
}

TEST(JpegStrips, AreNeverTooLargeForAnInterval) {
  for (const int threads : {1, 2, 3, 4}) {
    for (const int width : {1, 8, 620, 4960, 65500}) {
      for (const int height : {1, 16, 17, 877, 7016, 65500}) {
        const int strip = StripHeight(width, height, threads);
        const int count = (height + strip - 1) / strip;
        EXPECT_TRUE(strip > 0 && strip % 16 == 0) << width << ' ' << height;
        EXPECT_LE((width + 7) / 8 * (strip / 8), 65535) << width << ' ' << height;
        const int rounds = (count + threads - 1) / threads;
        EXPECT_LE(rounds * threads * (strip - 16), height) << "uneven shares: " << width << ' ' << height;
      }
    }
  }
}

// Under the sanitizers natively: headers that lie make it read nothing beyond them.
TEST(JpegStrips, SurviveDamage) {
  std::mt19937 random(3);
  int joined = 0;
  for (const Content& sound : simulator::JpegsIn(WSD_TEST_DATA)) {
    for (int i = 0; i < 3000; ++i) {
      const Content damaged = simulator::Damaged(sound, random);
      joined += Joined({damaged, damaged}).empty() ? 0 : 1;
      joined += Joined({sound, damaged}).empty() ? 0 : 1;
    }
  }
  EXPECT_GT(joined, 0);
}

}  // namespace
