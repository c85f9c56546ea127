// Drawing of the built-in test page. Internal to the simulator.
#pragma once

#include "platform/gdiplus_owners.h"
#include "simulator/page_renderer.h"

namespace simulator {

// Draws the page upright over the whole bitmap, which is 24 bits deep and white. GDI+ must have been started.
void DrawTestPage(Gdiplus::Bitmap& bitmap, const PageSettings& settings);

}  // namespace simulator
