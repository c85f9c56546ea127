// Coordinates of the preview pane: every conversion, clamping and rotation, free of windows and devices.
//
// Three coordinate spaces, all in whole numbers, all with x to the right and y downwards:
//
//   image pixels    Columns and rows of the decoded preview image, origin at its top-left corner.
//   millimetres     Image pixels x 25.4 / resolution of that axis (dots per inch), rounded to the nearest millimetre.
//                   The selection frame is held here, so that it keeps its place on the page at every zoom.
//   client pixels   The dialog's client area, unmirrored also in a right-to-left dialog. The pane is a rectangle in it;
//                   pointer positions and frame drawing are in this space.
//
// A function's name or its parameters' names say which space it takes. Most work on one axis at a time: horizontally
// from left to right, vertically from top to bottom.
//
// Every function takes any value. Nothing here divides by zero or converts out of range: a scale or a resolution of 0
// (nothing loaded, a file without a usable resolution) gives 0, and results saturate at +-kCoordinateLimit.
#pragma once

#include <cstdint>

#include "core/page_edit.h"

namespace preview {

struct Point {
  std::int32_t x = 0;
  std::int32_t y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Rect {
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;
  std::int32_t width() const { return right - left; }
  std::int32_t height() const { return bottom - top; }
  // True when the rectangle has an extent on both axes, in whichever direction.
  bool hasArea() const { return right != left && bottom != top; }
  friend bool operator==(const Rect&, const Rect&) = default;
};

// Two coordinates of this size can be added or subtracted without overflow.
inline constexpr std::int32_t kCoordinateLimit = 1'000'000'000;

using page::kMillimetresPerInch;

// Pane pixels per image pixel at 100 %: an inch of a page previewed at 200 dpi covers 24 pane pixels.
inline constexpr double kScaleAt100Percent = 0.12;

// The shortest side of a selection frame.
inline constexpr std::int32_t kMinimumSideMm = 10;

// Half the side of the square around the frame's bottom-right corner that resizes it, exclusive; pixels at 96 dpi.
inline constexpr std::int32_t kCornerReach = 5;

// One axis of the pane's view of the image.
struct AxisView {
  std::int32_t paneStart = 0;   // client pixel of the pane's left or top edge
  std::int32_t paneEnd = 0;     // client pixel of its right or bottom edge
  std::int32_t scroll = 0;      // image pixel shown at paneStart
  std::uint32_t imageSize = 0;  // image pixels
  std::uint32_t dpi = 0;        // dots per inch
  double zoom = 0.0;            // pane pixels per image pixel
  std::int32_t paneSize() const { return paneEnd - paneStart; }
};

// Cuts toward zero.
std::int32_t Truncate(double value);
std::uint32_t TruncateUnsigned(double value);

// --- Conversions -----------------------------------------------------------------------------------------------------

// The image pixel under a client pixel: the distance in the image is cut toward zero before the offset is added.
std::int32_t ImagePixelAt(const AxisView& view, std::int32_t client);

// An image pixel's place on the page, rounded to the nearest millimetre.
std::int32_t MillimetresAt(std::int32_t imagePixel, std::uint32_t dpi);

// An extent on the page, unrounded.
double ImageMillimetres(double imagePixels, std::uint32_t dpi);

// Where a millimetre of the page stands in the client area, cut toward zero. millimetres x dpi is a 32-bit unsigned
// product, so that a negative position wraps round to a large one and ends at the pane's far edge.
std::int32_t ClientAt(const AxisView& view, std::int32_t millimetres);

// The moving corner of a rubber band in millimetres: the anchor's image pixel plus the band's unrounded extent.
std::int32_t MovingCornerMillimetres(const AxisView& view, std::int32_t anchorClient, std::int32_t pointerClient);

// The last client pixel of the axis at which a frame may start or end: the image's end or the pane's, whichever is
// nearer.
std::int32_t VisibleImageLimit(const AxisView& view);

// --- Scrolling; offsets in image pixels ------------------------------------------------------------------------------

// Pane pixels in image pixels, cut toward zero: the part of the image that the pane shows, a scroll bar's page.
std::uint32_t ImagePixelsIn(std::int32_t panePixels, double zoom);

// A pointer's way in image pixels, cut toward zero.
std::int32_t ImageDistance(std::int32_t panePixels, double zoom);

// The offset at which the image's end stands at the pane's end; negative for an image smaller than the pane.
std::int32_t LargestScroll(const AxisView& view);

// The offset brought into [0, largest]; 0 for an image smaller than the pane.
std::int32_t ClampScroll(const AxisView& view);

// The offset that puts an image pixel into the pane's middle, not clamped.
std::int32_t CentredScroll(std::uint32_t imagePixel, const AxisView& view);

// Pane pixels from the pane's start that the image covers, in [0, pane size]; a partly covered last pixel is not
// counted.
std::int32_t CoveredPanePixels(const AxisView& view);

// Brings a scroll bar's position into what the view can show. Not the same as ClampScroll: with an image smaller than
// the pane the bar keeps the negative largest offset, and the next draw shows the image from its start.
std::int32_t SettleScroll(const AxisView& view, std::int32_t position);

// --- Zoom ------------------------------------------------------------------------------------------------------------

int PercentOfScale(double zoom);
double ScaleOfPercent(int percent);

// --- The selection frame ---------------------------------------------------------------------------------------------

// Turns a frame with its page; the page's size is that of the turned page. Each side is cut toward zero, so four
// quarter turns restore the frame only where the page measures whole millimetres.
Rect TurnFrame(const Rect& millimetres, page::Turn turn, double turnedWidthMm, double turnedHeightMm);

// Left <= right and top <= bottom.
Rect Ordered(const Rect& rect);

// |a - b|, saturating.
std::int32_t Distance(std::int32_t a, std::int32_t b);

struct Side {
  std::int32_t start = 0;
  std::int32_t end = 0;
  friend bool operator==(const Side&, const Side&) = default;
};

// Lengthens a side shorter than the minimum in the direction of the drag; at the page's edge the minimum lies inside
// it.
Side WithMinimumLength(const Side& millimetres, bool draggedBackwards, double imageMm);

// reach: kCornerReach in pixels of the screen.
bool IsOnResizeCorner(const Point& client, const Rect& frameClient, std::int32_t reach);

// The edges count as inside.
bool IsInside(const Point& client, const Rect& pane);

struct ClampedFrame {
  Rect frame;      // inside the pane
  bool isVisible;  // some of it can be drawn: it was inside as it was, or what is left still has an area
};

// Brings a frame's four sides into the pane.
ClampedFrame ClampFrame(const Rect& frameClient, const Rect& pane);

}  // namespace preview
