#include "scanning/image_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/support/image_samples.h"
#include "tests/support/machine.h"
#include "tests/support/platform_faults.h"

namespace {

using namespace harness;
using Names = std::set<std::wstring>;

class ImageFile : public testing::Test {
 protected:
  void Take(const char* name) {
    // Not the C++ library's function: GCC's takes two files of one drive for the same.
    ASSERT_TRUE(CopyFileW((TestData() / name).c_str(), file.c_str(), FALSE));
  }
  void MakeQuadrants(float dpiX, float dpiY) { ASSERT_TRUE(WriteQuadrants(file, 64, 32, dpiX, dpiY)); }
  static void Write(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  // The picture, with nothing beside it.
  void ExpectPicture(const std::string& corners, UINT width, UINT height, const std::string& what = {}) {
    Picture picture(file);
    EXPECT_EQ(std::tuple(picture.Corners(), picture.GetWidth(), picture.GetHeight()),
              std::tuple(corners, width, height))
        << what;
    EXPECT_EQ(folder.Names(), Names{L"Image.JPG"}) << what;
  }
  // Every operation fails, and the file and everything beside it is as before.
  void ExpectRefused(const std::wstring& path, const char* what) {
    const Names names = folder.Names();
    const std::string bytes = Bytes(path);
    EXPECT_FALSE(scanning::rotateImageFile(2, PathBuffer(path))) << what;
    EXPECT_FALSE(scanning::trimImageFile(PathBuffer(path), 0, 0, 2, 2)) << what;
    EXPECT_FALSE(scanning::processImageFile(PathBuffer(path), {3, 0, 0, 2, 2, 1})) << what;
    EXPECT_EQ(Bytes(path), bytes) << what;
    EXPECT_EQ(folder.Names(), names) << what;
  }

  GdiPlus gdiplus;
  TemporaryFolder folder;
  const std::wstring file = folder.File(L"Image.JPG");
};

TEST_F(ImageFile, TurnsAndKeepsTheResolution) {
  for (const auto& [dpiX, dpiY] : {std::pair(299.9f, 299.9f), {300, 200}}) {
    for (const auto& [type, corners] : {std::pair(2, "BRYG"), {3, "YBGR"}, {4, "GYRB"}, {5, "RGBY"}}) {
      const bool quarter = type == 2 || type == 4;
      MakeQuadrants(dpiX, dpiY);
      const std::string padded = Bytes(file) + std::string(4096, '\0');  // as a device fills up the last block
      Write(file, padded);
      PathBuffer path(file);
      EXPECT_TRUE(scanning::rotateImageFile(type, path));
      ExpectPicture(corners, quarter ? 32 : 64, quarter ? 64 : 32);
      EXPECT_NEAR(Picture(file).GetHorizontalResolution(), quarter ? dpiY : dpiX, 1);
      EXPECT_NEAR(Picture(file).GetVerticalResolution(), quarter ? dpiX : dpiY, 1);
      EXPECT_LT(Bytes(file).size(), padded.size()) << "not rewritten";
      EXPECT_EQ(path.text, file);
    }
  }
  EXPECT_FALSE(scanning::processImageFile(PathBuffer(file), {4, 1, 1, 1, 1, 1})) << "nothing to cut, although it turns";
  ExpectPicture("GYRB", 32, 64);
  ASSERT_TRUE(WriteQuadrants(file, 1, 128, 300, 300));
  EXPECT_TRUE(scanning::rotateImageFile(4, PathBuffer(file)));
  ExpectPicture("GYGY", 128, 1);
  EXPECT_TRUE(scanning::rotateImageFile(1, PathBuffer(folder.File(L"none.jpg")))) << "must not be opened";
}

TEST_F(ImageFile, TurnsAndCutsEveryKindOfJpeg) {
  const std::tuple<const char*, const char*, float, UINT> kinds[] = {{"progressive.jpg", "BRYG", 300.f, 47},
                                                                     {"cmyk.jpg", "BRYG", 300.f, 47},
                                                                     {"grey.jpg", "WKKW", 300.f, 47},
                                                                     {"no-density.jpg", "BRYG", 96.f, 15},
                                                                     {"per-centimetre.jpg", "BRYG", 299.72f, 47}};
  for (const auto& [name, turned, dpi, widthOf4Mm] : kinds) {
    Take(name);
    EXPECT_TRUE(scanning::rotateImageFile(2, PathBuffer(file))) << name;
    ExpectPicture(turned, 32, 32, name);
    EXPECT_NEAR(Picture(file).GetHorizontalResolution(), dpi, 1) << name;
    Take(name);
    EXPECT_TRUE(scanning::trimImageFile(PathBuffer(file), 0, 0, 4, 1)) << name;
    EXPECT_EQ(Picture(file).GetWidth(), widthOf4Mm) << name;
    EXPECT_EQ(Picture(file).ColorAt(1, 1), turned[1]) << name;
  }
}

TEST_F(ImageFile, CutsExactlyTheFrame) {
  // Black and white meet at pixel 16; 1 mm is pixel 11. Beside the page the cut is black.
  Take("grey.jpg");
  ASSERT_TRUE(scanning::trimImageFile(PathBuffer(file), 1, 1, 3, 3.5));
  ExpectPicture("KKKK", 23, 29);
  std::string colors;
  for (int x = 0; x < 23; ++x) colors += {Picture(file).ColorAt(x, 4), Picture(file).ColorAt(x, 5)};
  EXPECT_EQ(colors, "KWKWKWKWKWWKWKWKWKWKWKWKWKWKWKWKWKWKWKWKWKKKKK");
  for (const auto& [x, y] : {std::pair(500.0, 500.0), {500, 0}, {0, 500}, {2.71, 0}, {0, 2.71}}) {
    Take("grey.jpg");
    ASSERT_TRUE(scanning::trimImageFile(PathBuffer(file), x, y, x + 8, y + 8)) << "wholly beside the page";
    EXPECT_EQ(Picture(file).Corners(), "KKKK");
  }
  MakeQuadrants(300, 200);
  ASSERT_TRUE(scanning::trimImageFile(PathBuffer(file), -1, -1, 3, 1));
  ExpectPicture("RGRG", 47, 15);
  const std::string before = Bytes(file);
  EXPECT_FALSE(scanning::trimImageFile(PathBuffer(file), 1, 1, 1, 3));
  EXPECT_EQ(Bytes(file), before);
}

TEST_F(ImageFile, WhatThePlatformDecodesIsTurnedAndCut) {
  MakeQuadrants(300, 300);
  const std::string whole = Bytes(file);
  for (const std::size_t size : {std::size_t{0}, std::size_t{2}, whole.size() / 2, whole.size() - 2}) {
    Write(file, whole.substr(0, size));
    if (Picture(file).GetLastStatus() == Gdiplus::Ok) {
      EXPECT_TRUE(scanning::processImageFile(PathBuffer(file), {2, 0, 0, 2, 2, 1})) << size;
      EXPECT_EQ(Picture(file).GetWidth(), 23U);
    } else {
      ExpectRefused(file, "cut off");
    }
  }
  std::string claim = whole;
  claim.replace(claim.find("\xFF\xC0") + 5, 4, "\x75\x30\x75\x30");
  Write(file, claim);
  ExpectRefused(file, "30,000 pixels square in a few bytes");
  ExpectRefused(folder.File(L"none.jpg"), "missing");
  for (const wchar_t* format : {L"image/bmp", L"image/tiff", L"image/png"}) {
    MakeQuadrants(300, 300);
    CLSID encoder = {};
    ASSERT_GE(scanning::GetEncoderClsid(format, &encoder), 0);
    const std::wstring other = folder.File(L"other");
    ASSERT_EQ(Picture(file).Save(other.c_str(), &encoder, nullptr), Gdiplus::Ok);
    MoveFileExW(other.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING);
    EXPECT_TRUE(scanning::rotateImageFile(2, PathBuffer(file)));
    ExpectPicture("BRYG", 32, 64, std::filesystem::path(format).string());
    EXPECT_TRUE(IsWholeJpeg(file));
  }
}

TEST_F(ImageFile, NeverLosesAFileThatCannotBeReplaced) {
  MakeQuadrants(300, 300);
  SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
  ExpectRefused(file, "read-only");
  SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
  const HANDLE elsewhere = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ExpectRefused(file, "open elsewhere");
  CloseHandle(elsewhere);
}

// Leftovers have the temporary names: whatever fails then, the path says where the image is, and they stay.
TEST_F(ImageFile, SaysWhereTheImageIs) {
  const Names leftovers = {L"Image.JPG.tmp", L"Image.JPG.tmp.jpg", L"Image.JPG.tmp (2).jpg"};
  for (const std::wstring& name : leftovers) Write(folder.File(name), "somebody else's");
  bool moved = false;
  std::size_t calls = 1;
  for (std::size_t failing = 0; failing <= calls; ++failing) {
    MakeQuadrants(300, 300);
    PathBuffer path(file);
    BOOL done = FALSE;
    {
      const PlatformFaults faults(PlatformCalls::files, {failing, false, ERROR_ACCESS_DENIED});
      done = scanning::rotateImageFile(2, path);
      calls = std::max(calls, faults.Count());
    }
    Names names = folder.Names();
    for (const std::wstring& name : leftovers) {
      EXPECT_EQ(names.erase(name), 1U);
      EXPECT_EQ(Bytes(folder.File(name)), "somebody else's");
    }
    EXPECT_EQ(names, Names{std::filesystem::path(path.text).filename().wstring()}) << failing;
    EXPECT_EQ(Picture(path.text).Corners(), done || path.text != file ? "BRYG" : "RGBY") << failing;
    moved = moved || path.text != file;
    DeleteFileW(path.text);
  }
  EXPECT_TRUE(moved) << "no rename failed";
}

TEST_F(ImageFile, TemporaryNameFitsOrNothingIsTouched) {
  MakeQuadrants(300, 300);
  for (std::size_t length : {251u, 252u, 255u, 256u, 259u}) {
    const std::wstring path = folder.File(std::wstring(length - folder.File(L"").size(), L'x'));
    std::filesystem::copy_file(file, path);
    EXPECT_EQ(scanning::rotateImageFile(2, PathBuffer(path)), length <= 251) << length;
    EXPECT_EQ(Picture(path).Corners(), length <= 251 ? "BRYG" : "RGBY") << length;
    EXPECT_EQ(scanning::trimImageFile(PathBuffer(path), 0, 0, 1, 1), length <= 255) << length;
    EXPECT_EQ(Picture(path).GetWidth(), length <= 255 ? 11u : 64u) << length;
    std::filesystem::remove(path);
    EXPECT_EQ(folder.Names(), Names{L"Image.JPG"});
  }
  EXPECT_FALSE(scanning::trimImageFile(nullptr, 0, 0, 1, 1));
}

}  // namespace
