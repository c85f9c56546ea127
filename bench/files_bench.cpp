// Turning and cutting a page's file against what the platform's codec alone takes for its pixels, and the memory.
#include <windows.h>

#include <psapi.h>

#include <cmath>
#include <memory>

#include "bench/bench.h"
#include "core/page_edit.h"
#include "platform/gdiplus_owners.h"
#include "platform/wic.h"
#include "scanning/image_file.h"
#include "scanning/new_file.h"
#include "simulator/gdiplus_session.h"

namespace gdip = Gdiplus::DllExports;

namespace bench {
namespace {

constexpr int kMarginMm = 10;

// A quarter turn to the right, and the margins cut off the turned page.
ImageEditParams EditWithMargins(const Page& page) {
  ImageEditParams params;
  params.rotationType = page::RotationTypeOf(page::Turn::Right);
  params.hasFrame = 1;
  params.left = params.top = kMarginMm;
  params.right = page.heightMm - kMarginMm;
  params.bottom = page.widthMm - kMarginMm;
  return params;
}

// Decodes the part of the page that the edit takes, and encodes it as it is.
bool CodecAlone(const Page& page, const ImageEditParams& params, const std::wstring& target) {
  const platform::ImageFrame image = platform::OpenImage(page.file.c_str());
  UINT width = 0;
  UINT height = 0;
  WICPixelFormatGUID format = {};
  CLSID encoder = {};
  if (image.pixels == nullptr || FAILED(image.pixels->GetSize(&width, &height)) ||
      FAILED(image.pixels->GetPixelFormat(&format)) || format != GUID_WICPixelFormat24bppBGR ||
      scanning::GetEncoderClsid(L"image/jpeg", &encoder) < 0) {
    return false;
  }
  const page::CutRectangle cut =
      page::CutOfFrame(page.dpi, page.dpi, {params.left, params.top, params.right, params.bottom}).value();
  const page::CutRectangle part =
      page::BeforeTurn(cut, page::Turn::Right, static_cast<int>(width), static_cast<int>(height));
  const int stride = (part.width * 3 + 3) / 4 * 4;
  const UINT size = static_cast<UINT>(stride) * static_cast<UINT>(part.height);
  const auto pixels = std::make_unique_for_overwrite<BYTE[]>(size);
  const WICRect rectangle = {part.x, part.y, part.width, part.height};
  Gdiplus::GpBitmap* bitmap = nullptr;
  if (FAILED(image.pixels->CopyPixels(&rectangle, static_cast<UINT>(stride), size, pixels.get())) ||
      gdip::GdipCreateBitmapFromScan0(part.width, part.height, stride, PixelFormat24bppRGB, pixels.get(), &bitmap) !=
          Gdiplus::Ok) {
    return false;
  }
  const platform::GdipImage picture(bitmap);
  scanning::NewFile file;
  return SUCCEEDED(scanning::CreateNewFile(target.c_str(), 1, &file)) &&
         gdip::GdipSaveImageToStream(bitmap, file.stream.Get(), &encoder, nullptr) == Gdiplus::Ok;
}

void CompareWithCodec(const Page& page, const std::wstring& folder) {
  std::wstring copy = folder + L"\\turned.jpg";
  const std::wstring encoded = folder + L"\\encoded.jpg";
  const ImageEditParams params = EditWithMargins(page);
  const auto renew = [&] {
    DeleteFileW(encoded.c_str());
    copy.resize(MAX_PATH);
    CopyFileW(page.file.c_str(), copy.c_str(), FALSE);
  };
  bool succeeded = true;
  std::vector<double> milliseconds;
  renew();
  std::vector<double> ratios = Compare(
      page.dpi < 300    ? 21
      : page.dpi == 300 ? 15
                        : 7,
      [&](int) {
        const double seconds = Seconds([&] { succeeded &= scanning::processImageFile(copy.data(), params) != FALSE; });
        milliseconds.push_back(1000 * seconds);
        return seconds;
      },
      Whole([&] { succeeded &= CodecAlone(page, params, encoded); }), renew);
  DeleteFileW(encoded.c_str());
  if (!succeeded) {
    ratios.clear();
  }
  PrintFigure("turn and cut, " + page.name, "the codec alone, the same pixels", ratios, 1.15);
  PrintFigure("turn and cut, " + page.name, "one millisecond", milliseconds, kNoTarget);
}

}  // namespace

void MeasureFiles(std::span<const Page> pages, const std::wstring& folder) {
  const simulator::GdiplusSession gdiplus;
  for (const Page& page : pages) {
    CompareWithCodec(page, folder);
  }
}

void MeasurePeak(const Page& page, const std::wstring& edit, const std::wstring& folder) {
  const simulator::GdiplusSession gdiplus;
  std::wstring copy = folder + L"\\peak.jpg";
  CopyFileW(page.file.c_str(), copy.c_str(), FALSE);
  copy.resize(MAX_PATH);
  ImageEditParams params = EditWithMargins(page);
  params.hasFrame = edit == L"turned" ? 0 : 1;
  params.right = edit == L"half" ? page.heightMm / 2.0 : params.right;
  PROCESS_MEMORY_COUNTERS before = {};
  PROCESS_MEMORY_COUNTERS after = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &before, sizeof before);
  const BOOL succeeded = scanning::processImageFile(copy.data(), params);
  GetProcessMemoryInfo(GetCurrentProcess(), &after, sizeof after);
  const double pixels = page.widthMm * page.dpi / kMillimetresPerInch * page.heightMm * page.dpi / kMillimetresPerInch;
  const auto bytes = static_cast<double>(after.PeakWorkingSetSize - before.WorkingSetSize);
  PrintFigure("peak memory, " + page.name +
                  (params.hasFrame == 0 ? ": turned"
                   : edit == L"half"    ? ": half cut"
                                        : ": cut"),
              "the decoded page, 3 bytes a pixel", {succeeded ? bytes / (pixels * 3) : INFINITY},
              params.hasFrame == 0 ? kNoTarget : 1.7);
}

}  // namespace bench
