#include "scanning/image_file.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "core/jpeg_header.h"
#include "platform/debug_trace.h"
#include "platform/gdiplus_owners.h"
#include "platform/scoped.h"
#include "platform/wic.h"
#include "scanning/new_file.h"
#include <strsafe.h>

using page::CutRectangle;
using page::Turn;

namespace scanning {
namespace {

namespace gdip = Gdiplus::DllExports;

using Rows = page::PixelRows<std::uint8_t>;

// A page's pixels, read strip by strip. A GDI+ image of it would be a second copy in memory: 100 MB at 600 dpi.
class PageReader {
 public:
  // The file stays open while this lives.
  bool Open(const wchar_t* path) {
    m_image = platform::OpenImage(path);
    return m_image.pixels != nullptr && SUCCEEDED(m_image.pixels->GetSize(&m_width, &m_height)) &&
           SUCCEEDED(m_image.pixels->GetResolution(&m_dpiX, &m_dpiY)) && m_width > 0 && m_height > 0;
  }

  int width() const { return static_cast<int>(m_width); }
  int height() const { return static_cast<int>(m_height); }
  double dpiX() const { return m_dpiX; }
  double dpiY() const { return m_dpiY; }

  // Copies a part of the page, turned, to the target's top-left corner.
  bool Copy(const CutRectangle& part, Turn turn, Rows target) const {
    WICPixelFormatGUID format = {};
    const bool isWanted =
        SUCCEEDED(m_image.pixels->GetPixelFormat(&format)) && IsEqualGUID(format, GUID_WICPixelFormat24bppBGR);
    platform::ComPtr<IWICBitmapSource> pixels = m_image.pixels;
    if (!isWanted) {
      // To four bytes, although three are wanted: Wine 8's converter makes those of neither grey nor indexed pixels.
      platform::ComPtr<IWICFormatConverter> converter;
      if (FAILED(m_image.factory->CreateFormatConverter(&converter)) ||
          FAILED(converter->Initialize(m_image.pixels.Get(), GUID_WICPixelFormat32bppBGR, WICBitmapDitherTypeNone,
                                       nullptr, 0.0, WICBitmapPaletteTypeCustom))) {
        return false;
      }
      pixels = converter;
    }
    // A quarter turn walks down the columns of a strip: so low, its cache lines stay at hand until they are used up.
    constexpr int kStripHeight = 64;
    const int pixelBytes = isWanted ? 3 : 4;
    const int stride = part.width * pixelBytes;
    const UINT size = static_cast<UINT>(stride) * kStripHeight;
    const std::unique_ptr<BYTE[]> strip(new (std::nothrow) BYTE[size]);
    if (!strip) {
      return false;
    }
    for (int done = 0; done < part.height; done += kStripHeight) {
      const int height = std::min(kStripHeight, part.height - done);
      const WICRect rows = {part.x, part.y + done, part.width, height};
      if (FAILED(pixels->CopyPixels(&rows, static_cast<UINT>(stride), size, strip.get()))) {
        return false;
      }
      const CutRectangle to = page::AfterTurn({0, done, part.width, height}, turn, part.width, part.height);
      std::uint8_t* const corner = target.first + target.stride * to.y + page::kPageBytes * to.x;
      page::CopyTurned({strip.get(), stride}, pixelBytes, part.width, height, turn, {corner, target.stride});
    }
    return true;
  }

 private:
  platform::ImageFrame m_image;
  UINT m_width = 0;
  UINT m_height = 0;
  double m_dpiX = 0.0;
  double m_dpiY = 0.0;
};

using Frame = std::optional<page::Frame>;  // in the turned page

// Which pixels of a page the new picture shows. Sizes and the cut are the turned page's.
struct Plan {
  int width = 0;
  int height = 0;
  double dpiX = 0.0;
  double dpiY = 0.0;
  CutRectangle cut;
  bool isCut = false;  // the cut is the frame's; otherwise it is the whole page
};

// No value when neither the turn nor the frame leaves anything to do. A turn whose frame has no area is still done.
std::optional<Plan> PlanEdit(const PageReader& page, Turn turn, const Frame& frame) {
  Plan plan{page.width(), page.height(), page.dpiX(), page.dpiY(), {}, false};
  if (page::SwapsAxes(turn)) {
    std::swap(plan.width, plan.height);
    std::swap(plan.dpiX, plan.dpiY);
  }
  plan.cut = {0, 0, plan.width, plan.height};
  if (!frame) {
    return plan;
  }
  const std::optional<CutRectangle> cut = page::CutOfFrame(plan.dpiX, plan.dpiY, *frame);
  if (!cut && turn == Turn::None) {
    return std::nullopt;
  }
  plan.cut = cut.value_or(plan.cut);
  plan.isCut = cut.has_value();
  return plan;
}

// Fills the new picture: the page's part turned, black beside the page.
bool FillBitmap(Gdiplus::GpBitmap* bitmap, const PageReader& page, const Plan& plan, Turn turn) {
  const CutRectangle part = page::PartOnImage(plan.cut, plan.width, plan.height);
  const Gdiplus::Rect area(0, 0, plan.cut.width, plan.cut.height);
  Gdiplus::BitmapData data = {};
  if (gdip::GdipBitmapLockBits(bitmap, &area, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &data) != Gdiplus::Ok) {
    return false;
  }
  const Rows rows{static_cast<std::uint8_t*>(data.Scan0), data.Stride};
  if (part.width < plan.cut.width || part.height < plan.cut.height) {
    // The platform does not say what a new bitmap holds.
    const auto rowBytes = static_cast<std::size_t>(page::kPageBytes * plan.cut.width);
    for (int y = 0; y < plan.cut.height; ++y) {
      std::memset(rows.first + rows.stride * y, 0, rowBytes);
    }
  }
  const bool filled = part.width <= 0 || part.height <= 0 ||
                      page.Copy(page::BeforeTurn(part, turn, page.width(), page.height()), turn, rows);
  return gdip::GdipBitmapUnlockBits(bitmap, &data) == Gdiplus::Ok && filled;
}

// The picture as it is to be saved. Null when the page cannot be decoded or there is no memory.
platform::GdipImage MakePicture(const PageReader& page, const Plan& plan, Turn turn) {
  Gdiplus::GpBitmap* bitmap = nullptr;
  if (gdip::GdipCreateBitmapFromScan0(plan.cut.width, plan.cut.height, 0, PixelFormat24bppRGB, nullptr, &bitmap) !=
      Gdiplus::Ok) {
    return nullptr;
  }
  platform::GdipImage picture(bitmap);
  if (!plan.isCut) {
    // A new bitmap has the screen's resolution. One that GDI+ refuses (0) is none that could be kept.
    gdip::GdipBitmapSetResolution(bitmap, static_cast<Gdiplus::REAL>(plan.dpiX), static_cast<Gdiplus::REAL>(plan.dpiY));
  }
  return FillBitmap(bitmap, page, plan, turn) ? std::move(picture) : nullptr;
}

// Whether a stream ends as a JPEG does.
bool EndsAsJpeg(IStream* stream) {
  LARGE_INTEGER position = {};
  position.QuadPart = -2;
  BYTE end[2] = {};
  ULONG read = 0;
  return SUCCEEDED(stream->Seek(position, STREAM_SEEK_END, nullptr)) &&
         SUCCEEDED(stream->Read(end, sizeof(end), &read)) && read == sizeof(end) && end[0] == 0xFF && end[1] == 0xD9;
}

// Saves to a file that nobody had, complete or not at all. A codec might take a full disk for success: the file's end
// is looked at before the original is given up.
bool SaveAsNewFile(Gdiplus::GpImage* picture, const CLSID& encoder, const wchar_t* path, NewFile* file) {
  if (FAILED(CreateNewFile(path, 1, file))) {
    return false;
  }
  const bool saved = gdip::GdipSaveImageToStream(picture, file->stream.Get(), &encoder, nullptr) == Gdiplus::Ok &&
                     SUCCEEDED(file->stream->Commit(STGC_DEFAULT)) && EndsAsJpeg(file->stream.Get());
  file->stream.Reset();
  if (!saved) {
    DeleteFileW(file->path);
  }
  return saved;
}

// Rewrites the file through a temporary one beside it; see the header for what remains of a failure.
BOOL Rewrite(wchar_t* path, Turn turn, const Frame& frame) {
  wchar_t temporary[MAX_PATH] = {};
  if (path == nullptr || FAILED(StringCchCopyW(temporary, MAX_PATH, path)) ||
      FAILED(StringCchCatW(temporary, MAX_PATH, frame && turn == Turn::None ? L".tmp" : L".tmp.jpg"))) {
    return FALSE;
  }
  DebugTrace(L"SCAN_DIALOG::rotateImageFile tmpFile = %s", temporary);
  CLSID encoder = {};
  if (GetEncoderClsid(L"image/jpeg", &encoder) < 0 || ClaimsTooMuch(path)) {
    return FALSE;
  }
  NewFile file;
  std::optional<Plan> plan;
  {
    PageReader page;
    plan = page.Open(path) ? PlanEdit(page, turn, frame) : std::nullopt;
    const platform::GdipImage picture = plan ? MakePicture(page, *plan, turn) : nullptr;
    if (picture == nullptr || !SaveAsNewFile(picture.get(), encoder, temporary, &file)) {
      return FALSE;
    }
  }
  if (!DeleteFileW(path)) {
    DeleteFileW(file.path);
    return FALSE;
  }
  if (!MoveFileW(file.path, path)) {
    StringCchCopyW(path, MAX_PATH, file.path);  // from the deletion on it is the image
    return FALSE;
  }
  return plan && plan->isCut == frame.has_value() ? TRUE : FALSE;
}

}  // namespace

bool ClaimsTooMuch(const wchar_t* path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  platform::File file = platform::OpenFile(path, GENERIC_READ, kShareAll, OPEN_EXISTING, 0);
  LARGE_INTEGER size = {};
  if (file == nullptr || !GetFileSizeEx(file.get(), &size)) {
    return false;
  }
  std::vector<std::uint8_t> start(static_cast<std::size_t>(std::min<LONGLONG>(size.QuadPart, page::kLargestHeader)));
  DWORD count = 0;
  if (!ReadFile(file.get(), start.data(), static_cast<DWORD>(start.size()), &count, nullptr) || count == 0) {
    return false;
  }
  start.resize(count);
  if (page::BeginsAsJpeg(start)) {
    const std::int64_t pixels = page::ClaimedPixels(start);
    return pixels == 0 || page::IsTooMuchForJpeg(pixels, size.QuadPart);
  }
  file.reset();  // a codec might want it alone
  const platform::ImageFrame frame = platform::OpenImage(path);
  UINT width = 0;
  UINT height = 0;
  return frame.pixels != nullptr && SUCCEEDED(frame.pixels->GetSize(&width, &height)) &&
         page::IsTooMuch(std::int64_t{width} * height, size.QuadPart);
}

int GetEncoderClsid(const wchar_t* mimeType, CLSID* clsid) {
  UINT count = 0;
  UINT size = 0;
  if (gdip::GdipGetImageEncodersSize(&count, &size) != Gdiplus::Ok || size == 0) {
    return -1;
  }
  const std::unique_ptr<BYTE[]> list(new (std::nothrow) BYTE[size]);
  if (!list) {
    return -1;
  }
  // Operator new aligns for every fundamental type; the texts that the entries point to follow them in the same block.
  auto* codecs = reinterpret_cast<Gdiplus::ImageCodecInfo*>(list.get());
  if (gdip::GdipGetImageEncoders(count, size, codecs) != Gdiplus::Ok) {
    return -1;
  }
  for (UINT i = 0; i < count; ++i) {
    if (std::wcscmp(codecs[i].MimeType, mimeType) == 0) {
      *clsid = codecs[i].Clsid;
      return static_cast<int>(i);
    }
  }
  return -1;
}

BOOL TurnImageFile(wchar_t* path, Turn turn) { return Rewrite(path, turn, std::nullopt); }

BOOL rotateImageFile(int rotationType, wchar_t* path) {
  DebugTrace(L"SCAN_DIALOG::rotateImageFile rotationType=%d, i_wstrImagePath=%s", rotationType, path);
  return rotationType < 2 ? TRUE : TurnImageFile(path, page::TurnOfRotationType(rotationType));
}

BOOL trimImageFile(wchar_t* path, double left, double top, double right, double bottom) {
  DebugTrace(L"SCAN_DIALOG::trimImageFile o_wstrImagePath=%s left=%f, top=%f, right=%f, bottom=%f", path, left, top,
             right, bottom);
  return Rewrite(path, Turn::None, page::Frame{left, top, right, bottom});
}

BOOL processImageFile(wchar_t* path, const ImageEditParams& params) {
  if (params.hasFrame != 1) {
    return rotateImageFile(params.rotationType, path);
  }
  return Rewrite(path, page::TurnOfRotationType(params.rotationType),
                 page::Frame{params.left, params.top, params.right, params.bottom});
}

}  // namespace scanning
