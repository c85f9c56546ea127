#include "scanning/jpeg_encoder.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>

#include "core/jpeg_strips.h"
#include "platform/scoped.h"

namespace scanning {
namespace {

namespace gdip = Gdiplus::DllExports;

// The host needs the other processors.
constexpr int kMostThreads = 4;
// Fewer pixels for each thread are encoded sooner than a thread starts: measured, they take about a millisecond.
constexpr std::int64_t kFewPixels = 50'000;

int ThreadsFor(std::int64_t pixels) {
  SYSTEM_INFO system = {};
  GetSystemInfo(&system);
  return static_cast<int>(std::min<std::int64_t>(
      {std::int64_t{kMostThreads}, std::int64_t{system.dwNumberOfProcessors}, pixels / kFewPixels}));
}

// A bitmap's pixels, readable where they lie while this lives.
class LockedPixels {
 public:
  explicit LockedPixels(Gdiplus::GpImage* image) : m_bitmap(static_cast<Gdiplus::GpBitmap*>(image)) {
    UINT width = 0;
    UINT height = 0;
    Gdiplus::PixelFormat format = PixelFormatUndefined;
    gdip::GdipGetImageWidth(image, &width);
    gdip::GdipGetImageHeight(image, &height);
    gdip::GdipGetImagePixelFormat(image, &format);
    const Gdiplus::Rect all(0, 0, static_cast<INT>(width), static_cast<INT>(height));
    m_locked = gdip::GdipBitmapLockBits(m_bitmap, &all, Gdiplus::ImageLockModeRead, format, &m_data) == Gdiplus::Ok;
  }
  ~LockedPixels() {
    if (m_locked) {
      gdip::GdipBitmapUnlockBits(m_bitmap, &m_data);
    }
  }
  LockedPixels(const LockedPixels&) = delete;
  LockedPixels& operator=(const LockedPixels&) = delete;

  explicit operator bool() const { return m_locked; }
  int width() const { return static_cast<int>(m_data.Width); }
  int height() const { return static_cast<int>(m_data.Height); }

  // A bitmap on some of the rows; it must not outlive this. Null on failure.
  platform::GdipImage Rows(int first, int count) const {
    Gdiplus::GpBitmap* rows = nullptr;
    BYTE* const start = static_cast<BYTE*>(m_data.Scan0) + std::ptrdiff_t{m_data.Stride} * first;
    if (gdip::GdipCreateBitmapFromScan0(width(), count, m_data.Stride, m_data.PixelFormat, start, &rows) !=
        Gdiplus::Ok) {
      return nullptr;
    }
    return platform::GdipImage(rows);
  }

 private:
  Gdiplus::GpBitmap* m_bitmap;
  Gdiplus::BitmapData m_data = {};
  bool m_locked = false;
};

// What the encoder takes from a bitmap besides its pixels.
class EncodedProperties {
 public:
  explicit EncodedProperties(Gdiplus::GpImage* image) {
    INT size = 0;
    Gdiplus::PixelFormat format = PixelFormatUndefined;
    m_read = gdip::GdipGetImageHorizontalResolution(image, &m_dpiX) == Gdiplus::Ok &&
             gdip::GdipGetImageVerticalResolution(image, &m_dpiY) == Gdiplus::Ok &&
             gdip::GdipGetImagePixelFormat(image, &format) == Gdiplus::Ok;
    m_indexed = Gdiplus::IsIndexedPixelFormat(format) != FALSE;
    if (m_read && m_indexed) {
      m_read = gdip::GdipGetImagePaletteSize(image, &size) == Gdiplus::Ok &&
               size <= static_cast<INT>(sizeof(m_palette)) &&
               gdip::GdipGetImagePalette(image, &m_palette.head, size) == Gdiplus::Ok;
    }
  }
  bool ApplyTo(Gdiplus::GpImage* image) const {
    return m_read &&
           gdip::GdipBitmapSetResolution(static_cast<Gdiplus::GpBitmap*>(image), m_dpiX, m_dpiY) == Gdiplus::Ok &&
           (!m_indexed || gdip::GdipSetImagePalette(image, &m_palette.head) == Gdiplus::Ok);
  }

 private:
  struct Palette {
    Gdiplus::ColorPalette head;  // ends with the first entry
    std::array<Gdiplus::ARGB, 255> others;
  };
  Gdiplus::REAL m_dpiX = 0;
  Gdiplus::REAL m_dpiY = 0;
  Palette m_palette = {};
  bool m_indexed = false;
  bool m_read = false;
};

// A strip as a JPEG file in memory.
class EncodedStrip {
 public:
  bool Encode(Gdiplus::GpImage* rows, const CLSID& encoder, std::size_t expectedSize) {
    platform::GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, expectedSize));
    if (!block || FAILED(CreateStreamOnHGlobal(block.get(), TRUE, &m_stream))) {
      return false;
    }
    static_cast<void>(block.release());  // the stream frees it
    HGLOBAL memory = nullptr;
    ULARGE_INTEGER end = {};
    if (gdip::GdipSaveImageToStream(rows, m_stream.Get(), &encoder, nullptr) != Gdiplus::Ok ||
        FAILED(m_stream->Seek({}, STREAM_SEEK_CUR, &end)) || FAILED(GetHGlobalFromStream(m_stream.Get(), &memory))) {
      return false;
    }
    const auto* const first = static_cast<const std::uint8_t*>(GlobalLock(memory));
    if (first == nullptr) {
      return false;
    }
    m_lock.reset(memory);
    m_bytes = {first, static_cast<std::size_t>(end.QuadPart)};
    return true;
  }
  JpegBytes Bytes() const { return m_bytes; }

 private:
  platform::ComPtr<IStream> m_stream;
  platform::Unique<HGLOBAL, &GlobalUnlock> m_lock;
  JpegBytes m_bytes;
};

// Encodes the strips of a bitmap by several threads, each taking the next one that is left.
class StripEncoder {
 public:
  StripEncoder(Gdiplus::GpImage* image, const CLSID& encoder)
      : m_encoder(encoder), m_properties(image), m_pixels(image) {}

  // False also when the bitmap is better encoded as a whole.
  bool Encode() {
    const int threads = m_pixels ? ThreadsFor(std::int64_t{m_pixels.width()} * m_pixels.height()) : 0;
    if (threads < 2) {
      return false;
    }
    m_stripHeight = StripHeight(m_pixels.width(), m_pixels.height(), threads);
    m_count = (m_pixels.height() + m_stripHeight - 1) / m_stripHeight;
    m_strips.reset(new (std::nothrow) EncodedStrip[static_cast<std::size_t>(m_count)]);
    m_files.reset(new (std::nothrow) JpegBytes[static_cast<std::size_t>(m_count)]);
    if (!m_strips || !m_files) {
      return false;
    }
    {
      std::array<Thread, kMostThreads - 1> others;
      std::generate_n(others.begin(), threads - 1, [this] {
        // Without it the strips are left to the others.
        return Thread(CreateThread(nullptr, 0, &OnThread, this, 0, nullptr));
      });
      Work();
    }
    std::transform(&m_strips[0], &m_strips[0] + m_count, &m_files[0], [](const auto& strip) { return strip.Bytes(); });
    return !m_failed;
  }
  std::span<const JpegBytes> Files() const { return {&m_files[0], static_cast<std::size_t>(m_count)}; }

 private:
  static void Join(HANDLE thread) {
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
  }
  using Thread = platform::Unique<HANDLE, &Join>;

  static DWORD WINAPI OnThread(void* encoder) {
    // Some versions of GDI+ create their codecs as COM objects.
    const HRESULT initialised = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    static_cast<StripEncoder*>(encoder)->Work();
    if (SUCCEEDED(initialised)) {
      CoUninitialize();
    }
    return 0;
  }
  void Work() {
    while (!m_failed) {
      const int strip = m_next++;
      if (strip >= m_count) {
        return;
      }
      if (!EncodeStrip(strip)) {
        m_failed = true;
      }
    }
  }
  bool EncodeStrip(int strip) {
    // Noise takes a third of a byte for each pixel; the block grows when it must.
    constexpr int kPixelsPerByte = 2;
    const int first = strip * m_stripHeight;
    const int height = std::min(m_stripHeight, m_pixels.height() - first);
    const platform::GdipImage rows = m_pixels.Rows(first, height);
    const auto size = static_cast<std::size_t>(std::int64_t{height} * m_pixels.width() / kPixelsPerByte);
    return rows && m_properties.ApplyTo(rows.get()) && m_strips[strip].Encode(rows.get(), m_encoder, size);
  }

  const CLSID m_encoder;
  const EncodedProperties m_properties;
  const LockedPixels m_pixels;
  int m_stripHeight = 0;
  int m_count = 0;
  std::unique_ptr<EncodedStrip[]> m_strips;
  std::unique_ptr<JpegBytes[]> m_files;
  std::atomic<int> m_next = 0;
  std::atomic<bool> m_failed = false;
};

}  // namespace

bool SaveAsJpeg(Gdiplus::GpImage* bitmap, const CLSID& encoder, IStream* stream) {
  {
    StripEncoder strips(bitmap, encoder);
    const std::optional<JoinedJpeg> joined = strips.Encode() ? JoinedJpeg::Of(strips.Files()) : std::nullopt;
    if (joined) {
      return joined->WriteTo([stream](JpegBytes piece) {
        ULONG written = 0;
        return SUCCEEDED(stream->Write(piece.data(), static_cast<ULONG>(piece.size()), &written)) &&
               written == piece.size();
      });
    }
  }
  return gdip::GdipSaveImageToStream(bitmap, stream, &encoder, nullptr) == Gdiplus::Ok;
}

}  // namespace scanning
