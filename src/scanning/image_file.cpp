#include "scanning/image_file.h"

#include <shlwapi.h>
#include <strsafe.h>
#include <wincodec.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <memory>
#include <new>
#include <optional>

#include "core/page_edit.h"
#include "platform/debug_trace.h"
#include "platform/gdiplus_owners.h"
#include "platform/scoped.h"
#include "resources/resource_ids.h"
#include "scanning/jpeg_encoder.h"
#include "scanning/jpeg_file.h"

namespace scanning {
namespace {

namespace gdip = Gdiplus::DllExports;

constexpr wchar_t kTurnSuffix[] = L".tmp.jpg";
constexpr wchar_t kTrimSuffix[] = L".tmp";

// A frame in millimetres of the turned image.
struct Frame {
  double left;
  double top;
  double right;
  double bottom;
};

bool Exists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

QuarterTurns TurnsOfType(int rotationType) {
  switch (rotationType) {
    case 2:
      return QuarterTurns::Right;
    case 3:
      return QuarterTurns::UpsideDown;
    case 4:
      return QuarterTurns::Left;
    default:
      return QuarterTurns::None;
  }
}

QuarterTurns TurnsOfCommand(int command) {
  switch (command) {
    case IDM_ROTATE_RIGHT:
      return QuarterTurns::Right;
    case IDM_ROTATE_UPSIDE_DOWN:
      return QuarterTurns::UpsideDown;
    case IDM_ROTATE_LEFT:
      return QuarterTurns::Left;
    default:
      return QuarterTurns::None;
  }
}

// A page's pixels, read strip by strip from the platform's JPEG codec, the one that GDI+ itself uses. A GDI+ image of
// the page would be a second copy of it in memory (100 MB at 600 dpi), and filling it takes longer than turning it.
class PageReader {
 public:
  // The file stays open while this lives.
  bool Open(const wchar_t* path) {
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_factory))) ||
        FAILED(m_factory->CreateStream(&m_stream)) || FAILED(m_stream->InitializeFromFilename(path, GENERIC_READ)) ||
        FAILED(CoCreateInstance(CLSID_WICJpegDecoder, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_decoder))) ||
        FAILED(m_decoder->Initialize(m_stream.Get(), WICDecodeMetadataCacheOnDemand)) ||
        FAILED(m_decoder->GetFrame(0, &m_frame)) || FAILED(m_frame->GetSize(&m_width, &m_height)) ||
        FAILED(m_frame->GetResolution(&m_dpiX, &m_dpiY))) {
      return false;
    }
    return m_width > 0 && m_height > 0;
  }

  int width() const { return static_cast<int>(m_width); }
  int height() const { return static_cast<int>(m_height); }
  double dpiX() const { return m_dpiX; }
  double dpiY() const { return m_dpiY; }

  bool IsGrey() const {
    WICPixelFormatGUID format = {};
    return SUCCEEDED(m_frame->GetPixelFormat(&format)) && format == GUID_WICPixelFormat8bppGray;
  }

  // Copies a part of the page, turned, to the top-left corner of a colour bitmap, or of a grey one for a grey page.
  bool Copy(const CutRectangle& part, QuarterTurns turns, PixelRows<std::uint8_t> target, bool greyTarget) const {
    const bool grey = IsGrey();  // not every version of the platform's converter makes colour of grey
    platform::ComPtr<IWICFormatConverter> pixels;
    if (FAILED(m_factory->CreateFormatConverter(&pixels)) ||
        FAILED(pixels->Initialize(m_frame.Get(), grey ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR,
                                  WICBitmapDitherTypeNone, nullptr, 0.0, WICBitmapPaletteTypeCustom))) {
      return false;
    }
    // A quarter turn walks down the columns of a strip: so low, its cache lines stay at hand until they are used up.
    constexpr int kStripHeight = 64;
    const int stride = part.width * (grey ? 1 : 3);
    const UINT size = static_cast<UINT>(stride) * kStripHeight;
    const std::unique_ptr<BYTE[]> strip(new (std::nothrow) BYTE[size]);
    if (!strip) {
      return false;
    }
    const auto copy = greyTarget ? &CopyTurned<1, 1> : grey ? &CopyTurned<1, 3> : &CopyTurned<3, 3>;
    for (int done = 0; done < part.height; done += kStripHeight) {
      const int height = std::min(kStripHeight, part.height - done);
      const WICRect rows = {part.x, part.y + done, part.width, height};
      if (FAILED(pixels->CopyPixels(&rows, static_cast<UINT>(stride), size, strip.get()))) {
        return false;
      }
      const CutRectangle to = AfterTurn({0, done, part.width, height}, turns, part.width, part.height);
      BYTE* corner = target.first + target.stride * to.y + std::ptrdiff_t{greyTarget ? 1 : 3} * to.x;
      copy({strip.get(), stride}, part.width, height, turns, {corner, target.stride});
    }
    return true;
  }

 private:
  platform::ComPtr<IWICImagingFactory> m_factory;
  platform::ComPtr<IWICStream> m_stream;
  platform::ComPtr<IWICBitmapDecoder> m_decoder;
  platform::ComPtr<IWICBitmapFrameDecode> m_frame;
  UINT m_width = 0;
  UINT m_height = 0;
  double m_dpiX = 0.0;
  double m_dpiY = 0.0;
};

platform::GdipImage NewBitmap(const CutRectangle& size, Gdiplus::PixelFormat format) {
  Gdiplus::GpBitmap* bitmap = nullptr;
  if (gdip::GdipCreateBitmapFromScan0(size.width, size.height, 0, format, nullptr, &bitmap) != Gdiplus::Ok) {
    return nullptr;
  }
  return platform::GdipImage(bitmap);
}

// Indexed bitmaps start with a palette of colours.
bool SetGreyPalette(Gdiplus::GpImage* image) {
  constexpr int kLevels = 256;
  alignas(Gdiplus::ColorPalette) BYTE buffer[sizeof(Gdiplus::ColorPalette) + kLevels * sizeof(Gdiplus::ARGB)];
  auto* palette = reinterpret_cast<Gdiplus::ColorPalette*>(buffer);
  palette->Flags = Gdiplus::PaletteFlagsGrayScale;
  palette->Count = kLevels;
  for (Gdiplus::ARGB level = 0; level < kLevels; ++level) {
    palette->Entries[level] = 0xFF000000 | level * 0x010101;
  }
  return gdip::GdipSetImagePalette(image, palette) == Gdiplus::Ok;
}

// Fills the bitmap from its top-left corner with a part of the page, turned.
bool FillBitmap(Gdiplus::GpImage* image, Gdiplus::PixelFormat format, const PageReader& page, const CutRectangle& part,
                QuarterTurns turns) {
  auto* bitmap = static_cast<Gdiplus::GpBitmap*>(image);
  const Gdiplus::Rect area(0, 0, SwapsAxes(turns) ? part.height : part.width,
                           SwapsAxes(turns) ? part.width : part.height);
  Gdiplus::BitmapData data = {};
  if (gdip::GdipBitmapLockBits(bitmap, &area, Gdiplus::ImageLockModeWrite, format, &data) != Gdiplus::Ok) {
    return false;
  }
  const PixelRows<std::uint8_t> rows{static_cast<std::uint8_t*>(data.Scan0), data.Stride};
  const bool copied = page.Copy(part, turns, rows, format == PixelFormat8bppIndexed);
  return gdip::GdipBitmapUnlockBits(bitmap, &data) == Gdiplus::Ok && copied;
}

// The picture as it is to be saved, made in one pass: the frame's part of the page, or all of it without a frame,
// turned. The source is closed on return. At one to one, drawing with any interpolation copies pixels, so they are
// copied: on this path a large page costs a fraction of its decoding. Beside the page the new bitmap stays black.
platform::GdipImage TurnedAndCut(const wchar_t* path, QuarterTurns turns, const Frame* frame) {
  PageReader page;
  if (!page.Open(path)) {
    return nullptr;
  }
  const bool swapped = SwapsAxes(turns);
  const double dpiX = swapped ? page.dpiY() : page.dpiX();
  const double dpiY = swapped ? page.dpiX() : page.dpiY();
  const CutRectangle whole{0, 0, swapped ? page.height() : page.width(), swapped ? page.width() : page.height()};
  const std::optional<CutRectangle> cut =
      frame == nullptr ? whole : CutOfFrame(dpiX, dpiY, frame->left, frame->top, frame->right, frame->bottom);
  if (!cut) {
    return nullptr;
  }

  // A grey page that is only turned stays grey; every other kind becomes a colour image.
  const bool grey = frame == nullptr && page.IsGrey();
  const Gdiplus::PixelFormat format = grey ? PixelFormat8bppIndexed : PixelFormat24bppRGB;
  platform::GdipImage target = NewBitmap(*cut, format);
  if (!target || (grey && !SetGreyPalette(target.get()))) {
    return nullptr;
  }
  if (frame == nullptr) {
    // A new bitmap has the screen's resolution. One that GDI+ refuses (0) is none that could be kept.
    gdip::GdipBitmapSetResolution(static_cast<Gdiplus::GpBitmap*>(target.get()), static_cast<Gdiplus::REAL>(dpiX),
                                  static_cast<Gdiplus::REAL>(dpiY));
  }
  const CutRectangle part = PartOnImage(*cut, whole.width, whole.height);
  if (part.width > 0 && part.height > 0 &&
      !FillBitmap(target.get(), format, page, BeforeTurn(part, turns, page.width(), page.height()), turns)) {
    return nullptr;
  }
  return target;
}

// Saves to a file that must not exist yet, complete or not at all. GDI+'s own saving by name would empty a file that
// already has the name, or write through a link placed there beforehand. Opening a link also creates a target that is
// missing, so the name itself is looked at first: that does not follow it.
bool SaveAsNewFile(Gdiplus::GpImage* image, const CLSID& encoder, const wchar_t* path) {
  if (Exists(path)) {
    return false;
  }
  platform::ComPtr<IStream> stream;
  if (FAILED(SHCreateStreamOnFileEx(path, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, FILE_ATTRIBUTE_NORMAL, TRUE, nullptr,
                                    &stream))) {
    return false;
  }
  const bool saved = SaveAsJpeg(image, encoder, stream.Get()) && SUCCEEDED(stream->Commit(STGC_DEFAULT));
  stream.Reset();
  // A full disk must not pass for success in any codec: the file's end is checked before the original is given up.
  if (saved && IsWholeJpeg(path)) {
    return true;
  }
  DeleteFileW(path);
  return false;
}

// Rewrites the file through a temporary one beside it; see the header for what remains of a failure.
BOOL Rewrite(const wchar_t* path, const wchar_t* suffix, QuarterTurns turns, const Frame* frame) {
  wchar_t temporary[MAX_PATH] = {};
  if (path == nullptr || FAILED(StringCchCopyW(temporary, MAX_PATH, path)) ||
      FAILED(StringCchCatW(temporary, MAX_PATH, suffix))) {
    return FALSE;
  }
  DebugTrace(L"SCAN_DIALOG::rotateImageFile tmpFile = %s", temporary);
  CLSID encoder = {};
  if (!IsWholeJpeg(path) || GetEncoderClsid(L"image/jpeg", &encoder) < 0) {
    return FALSE;
  }
  {
    const platform::GdipImage image = TurnedAndCut(path, turns, frame);
    if (!image || !SaveAsNewFile(image.get(), encoder, temporary)) {
      return FALSE;
    }
  }
  if (!DeleteFileW(path)) {
    DeleteFileW(temporary);
    return FALSE;
  }
  // From here on the temporary file is the image: it stays when it cannot be renamed.
  return MoveFileW(temporary, path) ? TRUE : FALSE;
}

}  // namespace

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

BOOL rotateImageFile(int rotationType, const wchar_t* i_wstrImagePath) {
  DebugTrace(L"SCAN_DIALOG::rotateImageFile rotationType=%d, i_wstrImagePath=%s", rotationType, i_wstrImagePath);
  if (rotationType < 2) {
    return TRUE;
  }
  return Rewrite(i_wstrImagePath, kTurnSuffix, TurnsOfType(rotationType), nullptr);
}

BOOL rotateImageFileByCommand(int command, const wchar_t* path) {
  return Rewrite(path, kTurnSuffix, TurnsOfCommand(command), nullptr);
}

BOOL trimImageFile(const wchar_t* o_wstrImagePath, double left, double top, double right, double bottom) {
  DebugTrace(L"SCAN_DIALOG::trimImageFile o_wstrImagePath=%s left=%f, top=%f, right=%f, bottom=%f", o_wstrImagePath,
             left, top, right, bottom);
  const Frame frame{left, top, right, bottom};
  return Rewrite(o_wstrImagePath, kTrimSuffix, QuarterTurns::None, &frame);
}

BOOL processImageFile(const wchar_t* path, const ImageEditParams& params) {
  if (params.hasFrame == 1 && params.rotationType >= 2) {
    const Frame frame{params.left, params.top, params.right, params.bottom};
    if (Rewrite(path, kTurnSuffix, TurnsOfType(params.rotationType), &frame)) {
      return TRUE;
    }
    // One of the two may still be possible on its own: a page whose frame is empty is turned.
  }
  const BOOL turned = rotateImageFile(params.rotationType, path);
  if (params.hasFrame != 1) {
    return turned;
  }
  return trimImageFile(path, params.left, params.top, params.right, params.bottom);
}

void FollowImage(wchar_t* path) {
  if (Exists(path)) {
    return;
  }
  for (const wchar_t* suffix : {kTurnSuffix, kTrimSuffix}) {
    wchar_t temporary[MAX_PATH] = {};
    if (SUCCEEDED(StringCchCopyW(temporary, MAX_PATH, path)) && SUCCEEDED(StringCchCatW(temporary, MAX_PATH, suffix)) &&
        Exists(temporary)) {
      StringCchCopyW(path, MAX_PATH, temporary);
      return;
    }
  }
}

}  // namespace scanning
