#include "scanning/image_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "resources/resource_ids.h"
#include "tests/support/image_samples.h"

namespace {

using samples::Bytes;
using samples::Picture;
using Names = std::set<std::wstring>;

class ImageFile : public testing::Test {
 protected:
  void Take(const char* name) {
    std::filesystem::copy_file(std::filesystem::path(WSD_TEST_DATA) / name, file,
                               std::filesystem::copy_options::overwrite_existing);
  }
  void MakeQuadrants(float dpiX, float dpiY) { ASSERT_TRUE(samples::WriteQuadrants(file, 64, 32, dpiX, dpiY)); }
  static void Write(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  // The picture, with nothing beside it.
  void ExpectPicture(const std::string& corners, UINT width, UINT height, const std::string& what = {}) {
    Picture picture(file);
    EXPECT_EQ(picture.Corners(), corners) << what;
    EXPECT_EQ(picture.GetWidth(), width) << what;
    EXPECT_EQ(picture.GetHeight(), height) << what;
    EXPECT_EQ(folder.Names(), Names{L"Image.JPG"}) << what;
  }
  // Every operation fails, and the file and everything beside it is as before.
  void ExpectRefused(const std::wstring& path, const char* what) {
    const Names names = folder.Names();
    const std::string bytes = Bytes(path);
    EXPECT_FALSE(scanning::rotateImageFile(2, path.c_str())) << what;
    EXPECT_FALSE(scanning::rotateImageFileByCommand(IDM_ROTATE_LEFT, path.c_str())) << what;
    EXPECT_FALSE(scanning::trimImageFile(path.c_str(), 0, 0, 2, 2)) << what;
    EXPECT_FALSE(scanning::processImageFile(path.c_str(), {3, 0, 0, 2, 2, 1})) << what;
    EXPECT_EQ(Bytes(path), bytes) << what;
    EXPECT_EQ(folder.Names(), names) << what;
  }

  samples::GdiPlus gdiplus;
  samples::TemporaryFolder folder;
  const std::wstring file = folder.File(L"Image.JPG");
};

TEST_F(ImageFile, EncoderIsFoundByItsExactTypeOnly) {
  CLSID clsid = CLSID_NULL;
  for (const wchar_t* type : {L"image/JPEG", L"image/jpe", L"image/jpegs", L""}) {
    EXPECT_EQ(scanning::GetEncoderClsid(type, &clsid), -1);
  }
  EXPECT_EQ(clsid, CLSID_NULL);
  EXPECT_GE(scanning::GetEncoderClsid(L"image/jpeg", &clsid), 0);
  EXPECT_TRUE(IsEqualCLSID(clsid, samples::kJpegEncoder));
}

TEST_F(ImageFile, TurnsByTypeOrCommandAndKeepsTheResolution) {
  const std::tuple<int, int, const char*> turns[] = {
      {2, IDM_ROTATE_RIGHT, "BRYG"}, {3, IDM_ROTATE_UPSIDE_DOWN, "YBGR"}, {4, IDM_ROTATE_LEFT, "GYRB"}, {5, 0, "RGBY"}};
  for (const auto& [dpiX, dpiY] : {std::pair(72.f, 72.f), {200, 200}, {299.9f, 299.9f}, {300, 200}, {600, 600}}) {
    for (const auto& [type, command, corners] : turns) {
      const bool quarter = type % 2 == 0;
      MakeQuadrants(dpiX, dpiY);
      EXPECT_TRUE(scanning::rotateImageFile(type, file.c_str()));
      ExpectPicture(corners, quarter ? 32 : 64, quarter ? 64 : 32);
      EXPECT_NEAR(Picture(file).GetHorizontalResolution(), quarter ? dpiY : dpiX, 1);
      EXPECT_NEAR(Picture(file).GetVerticalResolution(), quarter ? dpiX : dpiY, 1);
      MakeQuadrants(dpiX, dpiY);
      const std::string padded = Bytes(file) + std::string(100, '\0');  // as a device fills up the last block
      Write(file, padded);
      EXPECT_TRUE(scanning::rotateImageFileByCommand(command, file.c_str()));
      ExpectPicture(corners, quarter ? 32 : 64, quarter ? 64 : 32);
      EXPECT_LT(Bytes(file).size(), padded.size()) << "not rewritten";
    }
  }
  ASSERT_TRUE(samples::WriteQuadrants(file, 1, 40, 300, 300));
  EXPECT_TRUE(scanning::rotateImageFile(4, file.c_str()));
  ExpectPicture("GYGY", 40, 1);
  EXPECT_TRUE(scanning::rotateImageFile(1, folder.File(L"none.jpg").c_str())) << "must not be opened";
}

TEST_F(ImageFile, TurnsAndCutsEveryKindOfJpeg) {
  const std::tuple<const char*, const char*, float, UINT> kinds[] = {{"progressive.jpg", "BRYG", 300.f, 47},
                                                                     {"cmyk.jpg", "BRYG", 300.f, 47},
                                                                     {"grey.jpg", "WKKW", 300.f, 47},
                                                                     {"no-density.jpg", "BRYG", 96.f, 15},
                                                                     {"per-centimetre.jpg", "BRYG", 299.72f, 47}};
  for (const auto& [name, turned, dpi, widthOf4Mm] : kinds) {
    Take(name);
    EXPECT_TRUE(scanning::rotateImageFile(2, file.c_str())) << name;
    ExpectPicture(turned, 32, 32, name);
    EXPECT_NEAR(Picture(file).GetHorizontalResolution(), dpi, 1) << name;
    Take(name);
    EXPECT_TRUE(scanning::trimImageFile(file.c_str(), 0, 0, 4, 1)) << name;
    EXPECT_EQ(Picture(file).GetWidth(), widthOf4Mm) << name;
    EXPECT_EQ(Picture(file).ColorAt(1, 1), turned[1]) << name;
  }
}

TEST_F(ImageFile, CutsExactlyTheFrame) {
  // Black and white meet at pixel 16; 1 mm is pixel 11. Beside the page the cut is black.
  Take("grey.jpg");
  ASSERT_TRUE(scanning::trimImageFile(file.c_str(), 1, 1, 3, 3.5));
  ExpectPicture("KKKK", 23, 29);
  std::string colors;
  for (int x = 0; x < 23; ++x) colors += {Picture(file).ColorAt(x, 4), Picture(file).ColorAt(x, 5)};
  EXPECT_EQ(colors, "KWKWKWKWKWWKWKWKWKWKWKWKWKWKWKWKWKWKWKWKWKKKKK");
  ASSERT_TRUE(scanning::trimImageFile(file.c_str(), 500, 500, 508, 508)) << "wholly beside the page";
  EXPECT_EQ(Picture(file).Corners(), "KKKK");
  MakeQuadrants(300, 200);
  ASSERT_TRUE(scanning::trimImageFile(file.c_str(), -1, -1, 3, 1));
  ExpectPicture("RGRG", 47, 15);
  const std::string before = Bytes(file);
  EXPECT_FALSE(scanning::trimImageFile(file.c_str(), 1, 1, 1, 3));
  EXPECT_FALSE(scanning::trimImageFile(file.c_str(), 0, 0, NAN, 1e9));
  EXPECT_EQ(Bytes(file), before);
}

TEST_F(ImageFile, FinalScanTurnsThenCuts) {
  const std::tuple<ImageEditParams, BOOL, const char*, UINT, UINT> scans[] = {
      {{2, 1.75, 0.1, 3.15, 6.3, 1}, TRUE, "RRGG", 14, 62},  // right half of the page once turned
      {{1, 0.1, 0.1, 3.1, 3.1, 1}, TRUE, "RRBB", 30, 30},
      {{3, 0.1, 0.1, 3.1, 1.5, 0}, TRUE, "YBGR", 64, 32},
      {{4, 1, 1, 1, 1, 1}, FALSE, "GYRB", 32, 64}};  // the cut's result, although it is turned
  for (const auto& [params, done, corners, width, height] : scans) {
    MakeQuadrants(254, 254);
    EXPECT_EQ(scanning::processImageFile(file.c_str(), params), done);
    ExpectPicture(corners, width, height);
  }
}

TEST_F(ImageFile, RefusesWhatIsNotAWholeJpeg) {
  MakeQuadrants(300, 300);
  const std::string whole = Bytes(file);
  for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2}, whole.size() / 2, whole.size() - 1}) {
    Write(file, whole.substr(0, size));
    ExpectRefused(file, "cut off");
  }
  std::string claim = whole;
  claim.replace(claim.find("\xFF\xC0") + 5, 4, "\x75\x30\x75\x30");
  Write(file, claim);
  ExpectRefused(file, "30,000 pixels square in a few bytes");
  const CLSID png = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
  Gdiplus::Bitmap(8, 8).Save(file.c_str(), &png, nullptr);
  ExpectRefused(file, "another format");
  ExpectRefused(folder.File(L"none.jpg"), "missing");
}

TEST_F(ImageFile, NeverLosesAFileThatCannotBeReplaced) {
  MakeQuadrants(300, 300);
  SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  ExpectRefused(file, "read-only");
  SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
  for (const wchar_t* suffix : {L".tmp", L".tmp.jpg"}) Write(file + suffix, "somebody else's");
  ExpectRefused(file, "the temporary name is taken");
  for (const wchar_t* suffix : {L".tmp", L".tmp.jpg"}) std::filesystem::remove(file + suffix);

  HANDLE elsewhere = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ExpectRefused(file, "open elsewhere");
  CloseHandle(elsewhere);
  // Deleted while somebody reads it, a file keeps its name until it is closed on some file systems.
  const DWORD share = FILE_SHARE_READ | FILE_SHARE_DELETE;
  elsewhere = CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
  const bool renamed = scanning::rotateImageFile(2, file.c_str());
  CloseHandle(elsewhere);
  EXPECT_EQ(folder.Names(), Names{renamed ? L"Image.JPG" : L"Image.JPG.tmp.jpg"});
  EXPECT_EQ(Picture(renamed ? file : file + L".tmp.jpg").Corners(), "BRYG");
}

TEST_F(ImageFile, TemporaryNameFitsOrNothingIsTouched) {
  MakeQuadrants(300, 300);
  for (std::size_t length : {251u, 252u, 255u, 256u, 258u, 259u}) {
    const std::wstring path = folder.File(std::wstring(length - folder.File(L"").size(), L'x'));
    std::filesystem::copy_file(file, path);
    EXPECT_EQ(scanning::rotateImageFile(2, path.c_str()), length <= 251) << length;
    EXPECT_EQ(Picture(path).Corners(), length <= 251 ? "BRYG" : "RGBY") << length;
    EXPECT_EQ(scanning::trimImageFile(path.c_str(), 0, 0, 1, 1), length <= 255) << length;
    EXPECT_EQ(Picture(path).GetWidth(), length <= 255 ? 11u : 64u) << length;
    std::filesystem::remove(path);
    EXPECT_EQ(folder.Names(), Names{L"Image.JPG"});
  }
  EXPECT_FALSE(scanning::trimImageFile(std::wstring(300, L'x').c_str(), 0, 0, 1, 1));
}

}  // namespace
