#include "core/page_edit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

namespace {

using page::CutRectangle;
using page::Turn;

TEST(PageEdit, TruncatesSizeAndOriginSeparately) {
  const auto at300 = [](double left, double top, double right, double bottom) {
    return page::CutOfFrame(300, 300, {left, top, right, bottom});
  };
  EXPECT_EQ(at300(1, 1, 3, 3), (CutRectangle{11, 11, 23, 23}));       // not 35 - 11
  EXPECT_EQ(at300(-2, -1, 3, 4), (CutRectangle{0, 0, 59, 59}));       // from 0, but the whole difference
  EXPECT_EQ(at300(0, 0, 0.085, 25.4), (CutRectangle{0, 0, 1, 300}));  // one pixel
  EXPECT_EQ(at300(1e9, 0, 1e9 + 25.4, 25.4), (CutRectangle{2147483647, 0, 299, 300}));  // saturates
  EXPECT_EQ(page::CutOfFrame(299.9, 600.9, {25.4, 25.4, 50.8, 50.8}), (CutRectangle{299, 600, 299, 600}));
}

TEST(PageEdit, RefusesWhatNoFileCanHold) {
  const double nan = std::nan("");
  const double infinite = HUGE_VAL;
  for (const auto& [dpiX, dpiY, x, y, right, bottom] :
       std::initializer_list<std::array<double, 6>>{{300, 300, 5, 5, 5, 9},
                                                    {300, 300, 0, 0, 0.08, 9},
                                                    {0, 300, 0, 0, 9, 9},
                                                    {300, 0.9, 0, 0, 9, 9},
                                                    {nan, 300, 0, 0, 9, 9},
                                                    {-300, -300, 9, 9, 0, 0},
                                                    {300, 300, nan, 0, 9, 9},
                                                    {300, 300, 0, 0, 9, infinite},
                                                    {300, 300, -1e308, 0, 1e308, 9},
                                                    {300, 300, 0, 0, 5546, 9},
                                                    {65535, 65535, 0, 0, 25, 25}}) {
    EXPECT_FALSE(page::CutOfFrame(dpiX, dpiY, {x, y, right, bottom})) << dpiX << ": " << x << " to " << right;
  }
}

// Every part of every turn, against the turned letters.
TEST(PageEdit, FindsAndCopiesThePartInEveryTurn) {
  const std::string image = "ABCDEFGHIJKLMNO";  // 5 x 3
  const std::pair<Turn, std::string> turns[] = {{Turn::None, image},
                                                {Turn::Right, "KFALGBMHCNIDOJE"},
                                                {Turn::UpsideDown, "ONMLKJIHGFEDCBA"},
                                                {Turn::Left, "EJODINCHMBGLAFK"}};
  const auto pixels = [](const std::string& letters, std::ptrdiff_t bytes) {
    std::string all;
    for (const char letter : letters)
      all += std::string(3, letter) + std::string(static_cast<std::size_t>(bytes - 3), '.');
    return all;
  };
  for (const std::ptrdiff_t bytes : {3, 4}) {
    const std::string stored = pixels(image, bytes);
    for (const auto& [turn, turned] : turns) {
      const int columns = page::SwapsAxes(turn) ? 3 : 5;
      const int rows = page::SwapsAxes(turn) ? 5 : 3;
      for (int x = 0; x < columns; ++x) {
        for (int y = 0; y < rows; ++y) {
          for (int width = 1; width <= 6; ++width) {
            const CutRectangle part = page::PartOnImage({x, y, width, 2}, columns, rows);
            const CutRectangle before = page::BeforeTurn(part, turn, 5, 3);
            ASSERT_EQ(page::AfterTurn(before, turn, 5, 3), part);
            std::string expected;
            for (int row = part.y; row < part.y + part.height; ++row) {
              const auto start = turned.begin() + std::ptrdiff_t{row} * columns + part.x;
              expected += pixels({start, start + part.width}, page::kPageBytes);
            }
            std::string copied(expected.size(), '?');
            const auto* first = reinterpret_cast<const std::uint8_t*>(
                &stored[static_cast<std::size_t>(bytes * (before.y * 5 + before.x))]);
            page::CopyTurned({first, bytes * 5}, bytes, before.width, before.height, turn,
                             {reinterpret_cast<std::uint8_t*>(copied.data()), page::kPageBytes * part.width});
            ASSERT_EQ(copied, expected) << x << "," << y << " " << width;
          }
        }
      }
    }
  }
}

}  // namespace
