#include "core/page_edit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

namespace {

using scanning::CutRectangle;
using scanning::QuarterTurns;

TEST(PageEdit, TruncatesSizeAndOriginSeparately) {
  const auto at300 = [](double left, double top, double right, double bottom) {
    return scanning::CutOfFrame(300, 300, left, top, right, bottom);
  };
  EXPECT_EQ(at300(1, 1, 3, 3), (CutRectangle{11, 11, 23, 23}));       // not 35 - 11
  EXPECT_EQ(at300(-2, -1, 3, 4), (CutRectangle{0, 0, 59, 59}));       // from 0, but the whole difference
  EXPECT_EQ(at300(0, 0, 0.085, 25.4), (CutRectangle{0, 0, 1, 300}));  // one pixel
  EXPECT_EQ(at300(1e9, 0, 1e9 + 25.4, 25.4)->x, 2147483647);          // saturates
  EXPECT_EQ(scanning::CutOfFrame(299.9, 600.9, 25.4, 25.4, 50.8, 50.8), (CutRectangle{299, 600, 299, 600}));
}

TEST(PageEdit, RefusesWhatNoFileCanHold) {
  const double nan = std::nan("");
  const double infinite = HUGE_VAL;
  for (const auto& frame : std::initializer_list<std::array<double, 6>>{{300, 300, 5, 5, 5, 9},
                                                                        {300, 300, 5, 5, 9, 5},
                                                                        {300, 300, 9, 5, 5, 9},
                                                                        {300, 300, 5, 9, 9, 5},
                                                                        {300, 300, 0, 0, 0.08, 9},
                                                                        {0, 300, 0, 0, 9, 9},
                                                                        {300, 0.9, 0, 0, 9, 9},
                                                                        {nan, 300, 0, 0, 9, 9},
                                                                        {-300, -300, 9, 9, 0, 0},
                                                                        {300, infinite, 0, 0, 9, 9},
                                                                        {300, 300, nan, 0, 9, 9},
                                                                        {300, 300, 0, 0, 9, nan},
                                                                        {300, 300, -infinite, 0, 9, 9},
                                                                        {300, 300, 0, 0, 9, infinite},
                                                                        {300, 300, 0, 0, 9, 1e300},
                                                                        {300, 300, -1e308, 0, 1e308, 9},
                                                                        {300, 300, 0, 0, 5546, 9},
                                                                        {65535, 65535, 0, 0, 25, 25}}) {
    EXPECT_FALSE(scanning::CutOfFrame(frame[0], frame[1], frame[2], frame[3], frame[4], frame[5]))
        << testing::PrintToString(frame);
  }
}

// Every part of every turn, against the turned letters.
TEST(PageEdit, FindsAndCopiesThePartInEveryTurn) {
  const std::string image = "ABCDEFGHIJKLMNO";  // 5 x 3
  const std::string turned[] = {image, "KFALGBMHCNIDOJE", "ONMLKJIHGFEDCBA", "EJODINCHMBGLAFK"};
  for (int index = 0; index < 4 * 15 * 36; ++index) {
    const auto turns = static_cast<QuarterTurns>(index % 4);
    const int columns = index % 2 == 0 ? 5 : 3;
    const int rest = index / 4;
    const CutRectangle cut{rest % columns, rest / columns % (15 / columns), 1 + rest / 15 % 6, 1 + rest / 90};
    const CutRectangle part = scanning::PartOnImage(cut, columns, 15 / columns);
    const CutRectangle stored = scanning::BeforeTurn(part, turns, 5, 3);
    ASSERT_EQ(scanning::AfterTurn(stored, turns, 5, 3), part);
    std::string expected;
    for (int y = part.y; y < part.y + part.height; ++y) {
      for (int x = part.x; x < part.x + part.width; ++x) expected += std::string(3, turned[index % 4][y * columns + x]);
    }
    std::string copied(expected.size(), '?');
    scanning::CopyTurned<1, 3>({reinterpret_cast<const std::uint8_t*>(&image[stored.y * 5 + stored.x]), 5},
                               stored.width, stored.height, turns,
                               {reinterpret_cast<std::uint8_t*>(copied.data()), std::ptrdiff_t{3} * part.width});
    ASSERT_EQ(copied, expected) << index;
  }
}

}  // namespace
