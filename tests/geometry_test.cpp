// The preview pane's arithmetic, without a window; also built natively, under the sanitizers.
#include "core/geometry.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core/readout_format.h"

namespace {

using namespace preview;
using page::Turn;

// A pane from 400 to 640 over a letter page of 1700 pixels at 200 dpi.
AxisView Page(double zoom, std::int32_t scroll = 0) { return {400, 640, scroll, 1700, 200, zoom}; }

TEST(GeometryConversions, PointerImageMillimetreAndBack) {
  EXPECT_EQ(ImagePixelAt(Page(0.12, 100), 412), 200);
  EXPECT_EQ(ImagePixelAt(Page(0.12, 100), 401), 108);  // 8.33 cut
  EXPECT_EQ(ImagePixelAt(Page(0.12, 100), 399), 92);   // -8.33 cut toward zero, not down
  EXPECT_EQ(MillimetresAt(200, 200), 25);
  EXPECT_EQ(MillimetresAt(4, 200), 1);  // 0.508
  EXPECT_EQ(MillimetresAt(3, 200), 0);  // 0.381
  EXPECT_DOUBLE_EQ(ImageMillimetres(1700, 200), 215.9);
  EXPECT_EQ(ClientAt(Page(0.12), 127), 520);
  EXPECT_EQ(ClientAt(Page(0.12, 100), 0), 388);
  EXPECT_EQ(ClientAt(Page(0.12, 4000), 1), -79);                 // -79.05... is cut toward zero
  EXPECT_EQ(ClientAt(Page(0.12), -10), 20291574);                // the product with the resolution is unsigned
  EXPECT_EQ(MovingCornerMillimetres(Page(0.12), 412, 424), 25);  // 12.7 + 12.7: unrounded before the sum
  EXPECT_EQ(MovingCornerMillimetres(Page(0.12, 500), 500, 412), 76);
}

TEST(GeometryConversions, NothingOverflowsOrDividesByZero) {
  EXPECT_EQ(Truncate(std::numeric_limits<double>::infinity()), kCoordinateLimit);
  EXPECT_EQ(Truncate(-1e300), -kCoordinateLimit);
  EXPECT_EQ(Truncate(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(Truncate(-1.9), -1);
  EXPECT_EQ(TruncateUnsigned(-5.0), 0U);
  EXPECT_EQ(MillimetresAt(500, 0), 0);
  EXPECT_EQ(ImageMillimetres(500, 0), 0.0);
  const std::uint32_t huge = std::numeric_limits<std::uint32_t>::max();
  for (const double zoom : {0.0, 1e-300, 0.12, 1e300}) {
    for (const std::uint32_t size : {0U, 1U, 65500U, huge}) {
      for (const std::uint32_t dpi : {0U, 1U, 600U, huge}) {
        const AxisView view = {400, 640, kCoordinateLimit, size, dpi, zoom};
        EXPECT_LE(ClampScroll(view), kCoordinateLimit);
        EXPECT_LE(CentredScroll(huge, view), kCoordinateLimit);
        EXPECT_GE(SettleScroll(view, -kCoordinateLimit), -kCoordinateLimit);
        EXPECT_LE(VisibleImageLimit(view), 640);
        EXPECT_LE(CoveredPanePixels(view), 240);
        EXPECT_LE(ClientAt(view, -kCoordinateLimit), kCoordinateLimit);
        EXPECT_LE(MovingCornerMillimetres(view, 65535, 0), kCoordinateLimit);
        EXPECT_LE(PercentOfScale(zoom), kCoordinateLimit);
      }
    }
  }
}

TEST(GeometryFrame, EndsAtThePageAndThePane) {
  EXPECT_EQ(TurnFrame({0, 0, 216, 279}, Turn::UpsideDown, 215.9, 279.4), (Rect{0, 0, 215, 279}));  // -0.1 becomes 0
  const Rect pane = {400, 50, 640, 400};
  EXPECT_EQ(ClampFrame({700, 60, 300, 900}, pane).frame, (Rect{640, 60, 400, 400})) << "in the order of the drag";
  EXPECT_TRUE(ClampFrame({300, 60, 500, 900}, pane).isVisible);
  EXPECT_FALSE(ClampFrame({700, 60, 800, 100}, pane).isVisible);
  EXPECT_FALSE(ClampFrame({420, 60, 420, 100}, pane).isVisible);
}

TEST(GeometryReadout, PaddedLengths) {
  EXPECT_EQ(PositionText(LengthUnit::Millimetres, 5, 10), L"  5mm,  10mm");
  EXPECT_EQ(SizeText(LengthUnit::Millimetres, 216, 1297), L"216mm x 1297mm");
  EXPECT_EQ(SizeText(LengthUnit::Inches, -300, 29999), L"-11.81inch, 1181.06inch");
  EXPECT_EQ(SizeText(LengthUnit::Inches, 127, 1), L" 5.00inch,  0.04inch");
}

}  // namespace
