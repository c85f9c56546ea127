#include "scanning/jpeg_encoder.h"

#include <gtest/gtest.h>

#include <shlwapi.h>

#include <random>
#include <tuple>

#include "platform/scoped.h"
#include "tests/support/image_samples.h"

namespace {

namespace gdip = Gdiplus::DllExports;

std::vector<Gdiplus::ARGB> Pixels(Gdiplus::Bitmap& picture) {
  std::vector<Gdiplus::ARGB> pixels(std::size_t{picture.GetWidth()} * picture.GetHeight());
  const Gdiplus::Rect all(0, 0, static_cast<INT>(picture.GetWidth()), static_cast<INT>(picture.GetHeight()));
  Gdiplus::BitmapData data = {picture.GetWidth(),   picture.GetHeight(), static_cast<INT>(picture.GetWidth() * 4),
                              PixelFormat32bppARGB, pixels.data(),       0};
  EXPECT_EQ(picture.LockBits(&all, Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                             PixelFormat32bppARGB, &data),
            Gdiplus::Ok);
  picture.UnlockBits(&data);
  return pixels;
}

// GDI+ itself encodes the whole in one piece; what comes out of the strips must not differ from that.
TEST(JpegEncoder, StripsShowWhatTheWholeDoes) {
  const samples::GdiPlus gdiplus;
  const samples::TemporaryFolder folder;
  const std::wstring whole = folder.File(L"whole.jpg"), strips = folder.File(L"strips.jpg");
  SYSTEM_INFO system = {};
  GetSystemInfo(&system);
  struct {
    Gdiplus::ColorPalette head = {Gdiplus::PaletteFlagsGrayScale, 256, {0xFF000000}};
    Gdiplus::ARGB others[255];
  } grey;
  for (unsigned i = 1; i < 256; ++i) grey.others[i - 1] = 0xFF000000 | i * 0x010101;
  const std::tuple<int, int, bool> sizes[] = {{40, 30, false}, {701, 1003, true}, {4000, 2500, true}};
  for (const auto& [width, height, inStrips] : sizes) {
    for (const Gdiplus::PixelFormat format : {PixelFormat24bppRGB, PixelFormat8bppIndexed}) {
      const int stride = (width * (format == PixelFormat24bppRGB ? 3 : 1) + 3) / 4 * 4;
      std::vector<BYTE> noise(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
      std::mt19937 random(4);
      for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<BYTE>(random() % 64 + i / 20000);
      Gdiplus::GpBitmap* created = nullptr;
      gdip::GdipCreateBitmapFromScan0(width, height, stride, format, noise.data(), &created);
      const platform::GdipImage bitmap(created);
      if (format == PixelFormat8bppIndexed) gdip::GdipSetImagePalette(created, &grey.head);
      ASSERT_EQ(gdip::GdipBitmapSetResolution(created, 200, 100), Gdiplus::Ok);
      ASSERT_EQ(gdip::GdipSaveImageToFile(created, whole.c_str(), &samples::kJpegEncoder, nullptr), Gdiplus::Ok);
      platform::ComPtr<IStream> stream;
      ASSERT_EQ(SHCreateStreamOnFileEx(strips.c_str(), STGM_READWRITE | STGM_CREATE, 0, TRUE, nullptr, &stream), S_OK);
      EXPECT_TRUE(scanning::SaveAsJpeg(created, samples::kJpegEncoder, stream.Get()));
      stream.Reset();
      const std::string label = std::to_string(width) + " " + std::to_string(format);
      const bool restarts = samples::Bytes(strips).find({'\xFF', '\xDD', 0, 4}) != std::string::npos;
      EXPECT_EQ(restarts, inStrips && system.dwNumberOfProcessors > 1) << label;
      samples::Picture expected(whole), picture(strips);
      EXPECT_EQ(picture.GetHorizontalResolution(), 200) << label;
      EXPECT_EQ(picture.GetVerticalResolution(), 100) << label;
      EXPECT_TRUE(Pixels(picture) == Pixels(expected)) << label;
    }
  }
}

}  // namespace
