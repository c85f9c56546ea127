// Preview and scan through the real dialog and the simulated scanner: which item, which file, what is reported, and
// what is left behind.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <fstream>

#include "scanning/transfer_callback.h"
#include "simulator/simulated_scanner.h"
#include "tests/support/dialog_harness.h"

namespace {

using platform::ComPtr;
using samples::Bytes;
using simulator::FaultPlan;
using simulator::SimulatedScanner;
using simulator::TemporaryPreviews;
using Names = std::set<std::wstring>;

constexpr int kPlaten = 2;

class Transfer : public testing::Test {
 protected:
  void SetUp() override {
    SetFolder(folder.path.wstring());
    fileName.reset(SysAllocString(L"Image"));
    request.bstrFilename = fileName.get();
  }
  void SetFolder(const std::wstring& path) {
    folderName.reset(SysAllocString(path.c_str()));
    request.bstrFolderName = folderName.get();
  }
  // The dialog on the device; references, temporary files and the caller's outputs must be in order afterwards.
  INT_PTR Run(const harness::TestDialog::Script& script) {
    FreeResult();
    const Names before = TemporaryPreviews();
    INT_PTR endCode = 0;
    {
      const auto root = scanner.Root();
      request.pIWiaItemRoot = root.Get();
      harness::TestDialog dialog;
      endCode = harness::RunDialog(dialog, script, &request);
      request.pIWiaItemRoot = nullptr;
    }
    EXPECT_EQ(TemporaryPreviews(), before);
    EXPECT_EQ(scanner.LiveObjects().size(), request.pWiaItem != nullptr ? 1U : 0U);
    EXPECT_EQ(request.pWiaItem != nullptr, request.lNumFiles == 1);
    EXPECT_EQ(request.pbstrFilePaths != nullptr, request.lNumFiles == 1);
    return endCode;
  }
  INT_PTR Scan() {
    return Run([](harness::TestDialog& dialog) { dialog.Command(IDC_SCAN); });
  }
  std::wstring Reported() const { return request.lNumFiles == 1 ? request.pbstrFilePaths[0] : L"(none)"; }
  void FreeResult() {
    if (request.lNumFiles == 1) {
      SysFreeString(request.pbstrFilePaths[0]);
      CoTaskMemFree(request.pbstrFilePaths);
      request.pWiaItem->Release();
    }
    request.lNumFiles = 0;
    request.pbstrFilePaths = nullptr;
    request.pWiaItem = nullptr;
  }
  void TearDown() override { FreeResult(); }

  const samples::GdiPlus gdiplus;
  samples::TemporaryFolder folder;
  SimulatedScanner scanner;
  platform::BasicString folderName;
  platform::BasicString fileName;
  DEVICEDIALOGDATA2 request = {};
};

TEST_F(Transfer, ScanWithoutPreviewIsTheDevicesFile) {
  const std::string content = "whatever the device sends";
  scanner.SetFaults({.streamContent = std::vector<BYTE>(content.begin(), content.end())});
  EXPECT_EQ(Scan(), IDC_SCAN);
  EXPECT_EQ(Reported(), folder.File(L"Image.JPG"));
  EXPECT_EQ(folder.Names(), Names{L"Image.JPG"});
  EXPECT_EQ(Bytes(Reported()), content);
  EXPECT_EQ(scanner.Transfers().back().item, L"Feeder");
  GUID category = {};
  ASSERT_EQ(request.pWiaItem->GetItemCategory(&category), S_OK);
  EXPECT_TRUE(IsEqualGUID(category, WIA_CATEGORY_FEEDER));
}

TEST_F(Transfer, FeedMethodPicksTheItem) {
  for (const auto& [index, item] : {std::pair{0, L"Feeder"}, std::pair{1, L"Feeder"}, std::pair{kPlaten, L"Flatbed"}}) {
    Run([index = index](harness::TestDialog& dialog) {
      dialog.Send(IDC_FEED_METHOD, CB_SETCURSEL, static_cast<WPARAM>(index));
      EXPECT_EQ(dialog.TransferImage(1), S_OK);
    });
    EXPECT_EQ(scanner.Transfers().back().item, item);
  }
}

// The page's corners after every turn, with and without a frame: the cut part must be what the frame enclosed.
TEST_F(Transfer, ScanIsTurnedAndCutLikeThePreview) {
  // Letter at 200 dpi; the corners' colours clockwise from the top left.
  const COLORREF corners[] = {simulator::kTopLeftColor, simulator::kTopRightColor, simulator::kBottomRightColor,
                              simulator::kBottomLeftColor};
  for (int turns = 0; turns < 4; ++turns) {
    for (const bool framed : {false, true}) {
      Run([&](harness::TestDialog& dialog) {
        dialog.Send(IDC_RESOLUTION, CB_SETCURSEL, 0);
        dialog.Command(IDC_PREVIEW);
        for (int i = 0; i < turns; ++i) dialog.Command(IDC_TOOL_ROTATE);
        // 40 mm by 30 mm at the turned preview's top-left corner.
        if (framed) dialog.m_rcSelection = {0, 0, 40, 30};
        dialog.Command(IDC_SCAN);
      });
      ASSERT_EQ(request.lNumFiles, 1);
      Gdiplus::Bitmap picture(Reported().c_str());
      const bool quarter = turns % 2 != 0;
      const UINT width = framed ? 314 : quarter ? 2200 : 1700;
      const UINT height = framed ? 236 : quarter ? 1700 : 2200;
      EXPECT_EQ(picture.GetWidth(), width) << turns << framed;
      EXPECT_EQ(picture.GetHeight(), height) << turns << framed;
      // Turning clockwise brings the corner before to the top left.
      const auto corner = [&](int position) { return corners[(position + 4 - turns) % 4]; };
      EXPECT_TRUE(samples::Shows(picture, 40, 40, corner(0))) << turns << framed;
      if (!framed) {
        EXPECT_EQ(picture.GetHorizontalResolution(), 200.0F);
        EXPECT_TRUE(samples::Shows(picture, width - 40, 40, corner(1))) << turns;
        EXPECT_TRUE(samples::Shows(picture, 40, height - 40, corner(3))) << turns;
      }
      DeleteFileW(Reported().c_str());
    }
  }
}

TEST_F(Transfer, NamesAndFoldersAsAsked) {
  SetFolder(folder.path.wstring() + L"\\");
  Scan();
  EXPECT_EQ(Reported(), folder.File(L"Image.JPG")) << "no second backslash";

  std::ofstream(folder.path / L"Image.JPG", std::ios::trunc) << "somebody else's";
  Scan();
  EXPECT_EQ(Reported(), folder.File(L"Image (2).JPG"));
  EXPECT_EQ(Bytes(folder.path / L"Image.JPG"), "somebody else's");

  const std::size_t transfers = scanner.Transfers().size();
  for (const std::wstring& bad :
       {std::wstring(), std::wstring(300, L'f'), folder.path.wstring() + std::wstring(200, L'p')}) {
    SetFolder(bad);
    fileName.reset(SysAllocString(std::wstring(60, L'n').c_str()));
    request.bstrFilename = fileName.get();
    HRESULT result = S_OK;
    Run([&](harness::TestDialog& dialog) { result = dialog.TransferImage(0); });
    EXPECT_EQ(result, bad.empty() ? E_INVALIDARG : static_cast<HRESULT>(0x8007007A));
    EXPECT_EQ(Reported(), L"(none)");
  }
  EXPECT_EQ(scanner.Transfers().size(), transfers) << "nothing was transferred";
}

TEST_F(Transfer, DownloadsResultDecides) {
  std::ofstream(folder.path / L"Image.JPG") << "somebody else's";
  scanner.SetFaults({.streamCount = 0});
  EXPECT_EQ(Scan(), IDC_SCAN);
  EXPECT_EQ(Reported(), L"(none)") << "no stream was asked for, so the file of that name is not ours";
  DeleteFileW(folder.File(L"Image.JPG").c_str());
  Scan();
  EXPECT_EQ(Reported(), folder.File(L"Image.JPG"));

  // S_FALSE reports the file and leaves it alone, also after a preview that was turned.
  scanner.SetFaults({});
  Run([this](harness::TestDialog& dialog) {
    dialog.Command(IDC_PREVIEW);
    dialog.Command(IDM_ROTATE_RIGHT);
    scanner.SetFaults({.downloadResult = S_FALSE, .streamContent = std::vector<BYTE>(9, 'x')});
    EXPECT_EQ(dialog.TransferImage(0), S_FALSE);
  });
  EXPECT_EQ(Reported(), folder.File(L"Image.JPG"));
  EXPECT_EQ(Bytes(Reported()), "xxxxxxxxx");

  // What a failing scan delivered before it failed stays, unreported.
  DeleteFileW(folder.File(L"Image.JPG").c_str());
  scanner.SetFaults({.cutAfterBytes = 5000});
  Scan();
  EXPECT_EQ(Reported(), L"(none)");
  EXPECT_EQ(folder.Names(), Names{L"Image.JPG"});
}

TEST_F(Transfer, FailingCallsReportNothingAndLeaveNothing) {
  const auto scan = [](harness::TestDialog& dialog) { dialog.Command(IDC_SCAN); };
  Run([](harness::TestDialog&) {});
  const std::size_t opening = scanner.Calls().size();
  scanner.ClearLog();
  Run(scan);
  const std::vector<std::string> calls = scanner.Calls();
  ASSERT_GT(calls.size(), opening + 4);
  for (std::size_t call = opening + 1; call <= calls.size(); ++call) {
    for (const HRESULT failure : {E_FAIL, S_FALSE}) {
      DeleteFileW(folder.File(L"Image.JPG").c_str());
      scanner.ClearLog();
      scanner.SetFaults({.calls = {{call, simulator::CallFault::Kind::result, failure, false}}});
      EXPECT_EQ(Run(scan), IDC_SCAN);
      // Rejected properties do not stop a scan; S_FALSE is a success wherever a call delivered what it was asked for.
      const bool harmless = calls[call - 1].find("WriteMultiple") != std::string::npos ||
                            calls[call - 1].find("PropertyStorage") != std::string::npos;
      const bool delivered = folder.Names().count(L"Image.JPG") != 0;
      EXPECT_EQ(Reported() != L"(none)",
                delivered || (failure == S_FALSE && calls[call - 1] == "IWiaTransfer::Download"))
          << calls[call - 1];
      EXPECT_TRUE(delivered || !harmless) << calls[call - 1];
    }
  }
}

TEST_F(Transfer, ProgressIsShownAtOnceAndGoesOnEveryPath) {
  class FailingDialog : public harness::TestDialog {
    BOOL processImageFile(wchar_t*, const ImageEditParams&) override { throw std::bad_alloc(); }
  };
  const auto run = [&](FaultPlan plan, bool scans) {
    std::vector<std::wstring> texts;
    FailingDialog dialog;
    const auto root = scanner.Root();
    request.pIWiaItemRoot = root.Get();
    plan.keepCallback = true;
    plan.streamContent = std::vector<BYTE>(9, 'x');
    const bool elsewhere = plan.callbacksOnAnotherThread;
    plan.hook = [&, elsewhere](const simulator::TransferPoint& point) {
      using Stage = simulator::TransferPoint::Stage;
      const auto look = [&] {
        texts.push_back(dialog.StatusText(0));  // from another thread: answered after what that thread reported
        EXPECT_TRUE(elsewhere || !GetUpdateRect(dialog.Control(IDC_STATUS_BAR), nullptr, FALSE)) << "not painted yet";
      };
      if (point.stage == Stage::start || point.stage == Stage::streamOpened) look();
      if (point.stage != Stage::pageDone) return;
      for (const LONG percent : {-5L, 42L, 250L}) {
        WiaTransferParams report = {WIA_TRANSFER_MSG_STATUS, percent, 0, S_OK};
        EXPECT_EQ(scanner.KeptCallback()->TransferCallback(0, &report), S_OK);
        look();
      }
    };
    harness::RunDialog(
        dialog,
        [&](harness::TestDialog& shown) {
          if (scans) shown.Command(IDC_PREVIEW);
          texts.clear();
          scanner.SetFaults(plan);
          if (scans) {
            EXPECT_THROW(shown.TransferImage(0), std::bad_alloc);
          } else {
            shown.TransferImage(1);
          }
          scanner.SetFaults({});
          EXPECT_EQ(shown.StatusText(0), L"");
        },
        &request);
    return texts;
  };
  const std::vector<std::wstring> all = {L"Please wait...", L"Scanning... 0 %", L"Scanning... 0 %", L"Scanning... 42 %",
                                         L"Scanning... 100 %"};
  EXPECT_EQ(run({}, false), all);
  EXPECT_EQ(run({}, true), all) << "ends with an exception";
  EXPECT_EQ(run({.callbacksOnAnotherThread = true}, false), all);
  EXPECT_EQ(run({.downloadResult = E_FAIL}, false), all);
  EXPECT_EQ(run({.cutAfterBytes = 5}, false).size(), 2U) << "the device gives up";
}

// Files in the way, and a name that has a number itself. Nothing may land beside the asked folder.
TEST_F(Transfer, PagesOfAStackPassOverFilesThatAreThere) {
  SimulatedScanner feeder({.feederPages = 4});
  const auto root = feeder.Root();
  request.pIWiaItemRoot = root.Get();
  const std::pair<const wchar_t*, Names> cases[] = {
      {L"Image", {L"Image (3).JPG", L"Image (5).JPG", L"Image (6).JPG", L"Image (7).JPG"}},
      {L"Image (7)", {L"Image (7) (3).JPG", L"Image (7) (5).JPG", L"Image (7) (6).JPG", L"Image (7) (7).JPG"}}};
  for (const auto& [name, pages] : cases) {
    const std::filesystem::path scans = folder.path / (std::wstring(L"scans of ") + name);
    std::filesystem::create_directory(scans);
    Names expected = pages;
    for (const wchar_t* number : {L"", L" (2)", L" (4)"}) {
      expected.insert(std::wstring(name) + number + L".JPG");
      std::ofstream(scans / (std::wstring(name) + number + L".JPG")) << "x";
    }
    SetFolder(scans.wstring());
    fileName.reset(SysAllocString(name));
    request.bstrFilename = fileName.get();
    const Names parent = folder.Names();
    harness::TestDialog dialog;
    const std::size_t previews = TemporaryPreviews().size();
    harness::RunDialog(
        dialog,
        [&](harness::TestDialog& shown) {
          shown.Command(IDC_PREVIEW);
          EXPECT_EQ(TemporaryPreviews().size(), previews + 1) << "of a preview's pages only the first is kept";
          shown.Command(IDC_SCAN);
        },
        &request);
    EXPECT_EQ(samples::NamesIn(scans), expected);
    EXPECT_EQ(folder.Names(), parent);
    for (const wchar_t* number : {L"", L" (2)", L" (4)"}) {
      EXPECT_EQ(Bytes(scans / (std::wstring(name) + number + L".JPG")), "x");
    }
    EXPECT_EQ(Reported(), (scans / *pages.begin()).wstring());
    FreeResult();
  }
}

TEST_F(Transfer, DeviceErrorsAreShownOnce) {
  const std::pair<HRESULT, UINT> errors[] = {{0x800403E9, IDS_ERROR_NO_PAPER},
                                             {0x800403EA, IDS_ERROR_PAPER_JAM},
                                             {0x800403EB, IDS_ERROR_BUSY},
                                             {0x800403EC, IDS_ERROR_SCAN_FAILURE},
                                             {0x800403ED, IDS_ERROR_COVER_OPEN},
                                             {0x800403EE, IDS_ERROR_OFFLINE},
                                             {0x80210003, 0},
                                             {0x800403EF, 0}};
  for (const bool otherThread : {false, true}) {
    for (const auto& [status, stringId] : errors) {
      harness::MessageBoxCloser user(L"Scan Error");
      scanner.SetFaults({.statuses = {{status, 50, true}}, .callbacksOnAnotherThread = otherThread});
      EXPECT_EQ(Scan(), IDC_SCAN);
      Sleep(30);
      ASSERT_EQ(user.Texts().size(), stringId != 0 ? 1U : 0U) << std::hex << status;
      if (stringId != 0) {
        wchar_t text[260] = {};
        LANG_RESOURCE(g_hInstance).GetTextW(stringId, text, 260);
        EXPECT_EQ(user.Texts()[0], text);
      }
      EXPECT_EQ(Reported(), L"(none)");
    }
  }
}

// A driver's message loop lets commands in while a transfer runs: none may start a second one, end the dialog or change
// what the scan is cut to. The pointer is the busy one over the dialog, and the arrow over a message box.
TEST_F(Transfer, CommandsDuringATransfer) {
  const HCURSOR busy = LoadCursorW(nullptr, IDC_WAIT);
  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  int asked = 0;
  const auto meddle = [&](harness::TestDialog& dialog) {
    ++asked;
    EXPECT_EQ(GetCursor(), busy);
    for (const int command : {IDC_SCAN, IDC_PREVIEW, IDCANCEL, IDM_ROTATE_LEFT, IDC_TOOL_ROTATE, IDC_TOOL_SELECT}) {
      dialog.Command(command);
    }
    SendMessageW(dialog.m_hDlg, WM_CLOSE, 0, 0);
    const LPARAM pane = MAKELPARAM(dialog.m_rcPane.left + 9, dialog.m_rcPane.top + 9);
    for (const UINT message : {WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_MOUSEMOVE, WM_LBUTTONUP}) {
      SendMessageW(dialog.m_hDlg, message, 0, pane + 5);
    }
    harness::HandleMessages(dialog.m_hDlg);
    EXPECT_EQ(dialog.TransferImage(0), HRESULT_FROM_WIN32(ERROR_BUSY));
    EXPECT_TRUE(IsWindowVisible(dialog.m_hDlg));
    SetCursor(arrow);
    const HWND button = dialog.Control(IDC_SCAN);
    SendMessageW(button, WM_SETCURSOR, reinterpret_cast<WPARAM>(button), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(GetCursor(), busy) << "asked for over a button";
  };
  Run([&](harness::TestDialog& dialog) {
    SetCursor(arrow);
    scanner.SetFaults({.hook = [&](const simulator::TransferPoint&) { meddle(dialog); }});
    dialog.Command(IDC_PREVIEW);
    EXPECT_EQ(GetCursor(), arrow);
    EXPECT_TRUE(dialog.m_bPreviewLoaded);
    EXPECT_EQ(dialog.m_nRotation, 0);
    dialog.Send(IDC_RESOLUTION, CB_SETCURSEL, 0);
    dialog.m_rcSelection = {10, 10, 50, 40};
    dialog.DrawSelectionFrame(dialog.m_hDlg);
    dialog.m_bSelectTool = true;
    dialog.m_bMouseInPane = true;
    dialog.Command(IDC_SCAN);
  });
  EXPECT_GT(asked, 4);
  EXPECT_EQ(scanner.Transfers().size(), 2U);
  EXPECT_EQ(samples::Picture(Reported()).GetWidth(), 314U) << "cut to the frame that was there";
}

TEST_F(Transfer, AFailedPreviewLeavesNone) {
  Run([this](harness::TestDialog& dialog) {
    dialog.Command(IDC_PREVIEW);
    const std::wstring first = dialog.m_wstrPreviewFile;
    EXPECT_EQ(first.substr(first.size() - 4), L".JPG");
    EXPECT_TRUE(dialog.Enabled(IDC_TOOL_PAN));
    scanner.SetFaults({.cutAfterBytes = 3000});
    dialog.Command(IDC_PREVIEW);
    EXPECT_EQ(GetFileAttributesW(first.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_STREQ(dialog.m_wstrPreviewFile, L"");
    EXPECT_FALSE(dialog.Enabled(IDC_TOOL_PAN));
  });
}

TEST(TransferCallback, ComRules) {
  samples::TemporaryFolder folder;
  ComPtr<CSimpleWIACallback> callback;
  *callback.GetAddressOf() =
      new CSimpleWIACallback(nullptr, folder.File(L"p.JPG").c_str(), CSimpleWIACallback::Purpose::Scan);
  EXPECT_EQ(callback->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  void* object = &folder;
  EXPECT_EQ(callback->QueryInterface(IID_IWiaTransfer, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(callback->AddRef(), 2U);
  EXPECT_EQ(callback->Release(), 1U);
  EXPECT_EQ(callback->TransferCallback(0, nullptr), S_OK);
  ComPtr<IStream> stream;
  EXPECT_EQ(callback->GetNextStream(0, nullptr, nullptr, &stream), S_OK);
  EXPECT_EQ(callback->TakeFirstFile(), folder.File(L"p.JPG"));
  stream.Reset();
  EXPECT_TRUE(MoveFileW(folder.File(L"p.JPG").c_str(), folder.File(L"q.JPG").c_str())) << "let go at the page's end";
}

}  // namespace
