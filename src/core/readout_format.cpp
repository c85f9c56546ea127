#include "core/readout_format.h"

#include <cmath>
#include <cstddef>

#include "core/geometry.h"

namespace preview {

namespace {

constexpr std::size_t kMillimetreWidth = 3;
constexpr std::size_t kInchWidth = 5;

std::wstring PaddedLeft(const std::wstring& text, std::size_t width) {
  return text.size() < width ? std::wstring(width - text.size(), L' ') + text : text;
}

// Two decimals by whole-number arithmetic: printf takes the decimal separator from the C locale, which belongs to the
// application that hosts the dialog. The length is first rounded to single precision; a float times 100 is exact in
// double precision, so nothing is rounded twice.
std::wstring InchNumber(std::int32_t millimetres) {
  const float inches = static_cast<float>(millimetres / kMillimetresPerInch);
  const long long hundredths = std::llround(std::abs(static_cast<double>(inches)) * 100);
  std::wstring text = inches < 0 ? L"-" : L"";
  text += std::to_wstring(hundredths / 100);
  text += L'.';
  text += static_cast<wchar_t>(L'0' + hundredths / 10 % 10);
  text += static_cast<wchar_t>(L'0' + hundredths % 10);
  return text;
}

std::wstring Length(LengthUnit unit, std::int32_t millimetres) {
  if (unit == LengthUnit::Millimetres) {
    return PaddedLeft(std::to_wstring(millimetres), kMillimetreWidth) + L"mm";
  }
  return PaddedLeft(InchNumber(millimetres), kInchWidth) + L"inch";
}

}  // namespace

std::wstring PositionText(LengthUnit unit, std::int32_t left, std::int32_t top) {
  return Length(unit, left) + L", " + Length(unit, top);
}

std::wstring SizeText(LengthUnit unit, std::int32_t width, std::int32_t height) {
  const wchar_t* separator = unit == LengthUnit::Millimetres ? L" x " : L", ";
  return Length(unit, width) + separator + Length(unit, height);
}

}  // namespace preview
