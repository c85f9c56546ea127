// The texts in which the status bar shows the selection frame, free of windows.
#pragma once

#include <cstdint>
#include <string>

namespace preview {

enum class LengthUnit { Millimetres, Inches };

// Two lengths in whole millimetres, as "  5mm,  10mm" or " 0.20inch,  0.39inch".
std::wstring PositionText(LengthUnit unit, std::int32_t left, std::int32_t top);

// As "216mm x 297mm" or " 8.50inch, 11.69inch".
std::wstring SizeText(LengthUnit unit, std::int32_t width, std::int32_t height);

}  // namespace preview
