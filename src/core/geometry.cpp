#include "core/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

using page::Turn;

namespace preview {

namespace {

std::int32_t Saturate(std::int64_t value) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, -kCoordinateLimit, kCoordinateLimit));
}

double PaneToImage(double panePixels, double zoom) { return zoom > 0.0 ? panePixels / zoom : 0.0; }

}  // namespace

std::int32_t Truncate(double value) {
  if (std::isnan(value)) {
    return 0;
  }
  return static_cast<std::int32_t>(
      std::clamp(value, -static_cast<double>(kCoordinateLimit), static_cast<double>(kCoordinateLimit)));
}

std::uint32_t TruncateUnsigned(double value) { return static_cast<std::uint32_t>(std::max(Truncate(value), 0)); }

std::int32_t ImagePixelAt(const AxisView& view, std::int32_t client) {
  return Saturate(std::int64_t{ImageDistance(client - view.paneStart, view.zoom)} + view.scroll);
}

std::int32_t MillimetresAt(std::int32_t imagePixel, std::uint32_t dpi) {
  return Truncate(ImageMillimetres(imagePixel, dpi) + 0.5);
}

double ImageMillimetres(double imagePixels, std::uint32_t dpi) {
  return dpi != 0 ? imagePixels * kMillimetresPerInch / dpi : 0.0;
}

std::int32_t ClientAt(const AxisView& view, std::int32_t millimetres) {
  const std::uint32_t product = static_cast<std::uint32_t>(millimetres) * view.dpi;
  return Truncate(view.paneStart + view.zoom * (product / kMillimetresPerInch - view.scroll));
}

std::int32_t MovingCornerMillimetres(const AxisView& view, std::int32_t anchorClient, std::int32_t pointerClient) {
  const std::int32_t anchor = ImagePixelAt(view, anchorClient);
  const double extent = PaneToImage(pointerClient - anchorClient, view.zoom);
  return Truncate(ImageMillimetres(anchor, view.dpi) + ImageMillimetres(extent, view.dpi) + 0.5);
}

std::int32_t VisibleImageLimit(const AxisView& view) {
  return std::min(Truncate(view.zoom * view.imageSize + 0.5 + view.paneStart), view.paneEnd);
}

std::uint32_t ImagePixelsIn(std::int32_t panePixels, double zoom) {
  return TruncateUnsigned(PaneToImage(panePixels, zoom));
}

std::int32_t ImageDistance(std::int32_t panePixels, double zoom) { return Truncate(PaneToImage(panePixels, zoom)); }

std::int32_t LargestScroll(const AxisView& view) {
  return view.zoom > 0.0 ? Truncate(view.imageSize - view.paneSize() / view.zoom) : 0;
}

std::int32_t ClampScroll(const AxisView& view) {
  if (view.scroll <= 0 || Truncate(view.imageSize * view.zoom) < view.paneSize()) {
    return 0;
  }
  return std::min(view.scroll, LargestScroll(view));
}

std::int32_t CentredScroll(std::uint32_t imagePixel, const AxisView& view) {
  return Truncate(imagePixel - PaneToImage(view.paneSize(), 2 * view.zoom));
}

std::int32_t CoveredPanePixels(const AxisView& view) {
  const std::uint32_t shown = ImagePixelsIn(view.paneSize(), view.zoom);
  if (shown == 0) {
    return 0;
  }
  const double imageLeft = static_cast<double>(view.imageSize) - view.scroll;
  return std::clamp(Truncate(std::floor(imageLeft * view.paneSize() / shown)), 0, std::max(view.paneSize(), 0));
}

std::int32_t SettleScroll(const AxisView& view, std::int32_t position) {
  const std::int32_t largest = LargestScroll(view);
  if (position >= largest) {
    return largest;
  }
  return std::max(position, 0);
}

int PercentOfScale(double zoom) { return Truncate(zoom / kScaleAt100Percent * 100); }

double ScaleOfPercent(int percent) { return percent / 100.0 * kScaleAt100Percent; }

Rect TurnFrame(const Rect& millimetres, page::Turn turn, double turnedWidthMm, double turnedHeightMm) {
  const Rect& from = millimetres;
  switch (turn) {
    case Turn::UpsideDown:
      return {Truncate(turnedWidthMm - from.right), Truncate(turnedHeightMm - from.bottom),
              Truncate(turnedWidthMm - from.left), Truncate(turnedHeightMm - from.top)};
    case Turn::Right:
      return {Truncate(turnedWidthMm - from.bottom), from.left, Truncate(turnedWidthMm - from.top), from.right};
    case Turn::Left:
      return {from.top, Truncate(turnedHeightMm - from.right), from.bottom, Truncate(turnedHeightMm - from.left)};
    case Turn::None:
      break;
  }
  return from;
}

Rect Ordered(const Rect& rect) {
  const auto [left, right] = std::minmax(rect.left, rect.right);
  const auto [top, bottom] = std::minmax(rect.top, rect.bottom);
  return {left, top, right, bottom};
}

std::int32_t Distance(std::int32_t a, std::int32_t b) { return Saturate(std::abs(std::int64_t{a} - b)); }

Side WithMinimumLength(const Side& millimetres, bool draggedBackwards, double imageMm) {
  Side side = millimetres;
  if (Distance(side.start, side.end) >= kMinimumSideMm) {
    return side;
  }
  if (draggedBackwards) {
    side.end = side.start - kMinimumSideMm;
    return side.end < 0 ? Side{kMinimumSideMm, 0} : side;
  }
  side.end = side.start + kMinimumSideMm;
  if (side.end > imageMm) {
    side.end = Truncate(imageMm + 0.5);
    side.start = side.end - kMinimumSideMm;
  }
  return side;
}

bool IsOnResizeCorner(const Point& client, const Rect& frameClient, std::int32_t reach) {
  return Distance(client.x, frameClient.right) < reach && Distance(client.y, frameClient.bottom) < reach;
}

bool IsInside(const Point& client, const Rect& pane) {
  return client.x >= pane.left && client.x <= pane.right && client.y >= pane.top && client.y <= pane.bottom;
}

ClampedFrame ClampFrame(const Rect& frameClient, const Rect& pane) {
  const auto x = [&pane](std::int32_t value) { return std::max(pane.left, std::min(value, pane.right)); };
  const auto y = [&pane](std::int32_t value) { return std::max(pane.top, std::min(value, pane.bottom)); };
  const Rect frame = {x(frameClient.left), y(frameClient.top), x(frameClient.right), y(frameClient.bottom)};
  const bool isWhole = frame == frameClient && frame.hasArea();
  return {frame, isWhole || (frame.left < frame.right && frame.top < frame.bottom)};
}

}  // namespace preview
