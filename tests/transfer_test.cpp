// Preview and scan through the dialog and the simulated scanner: which item, which file, what is reported and shown,
// and what is left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "resources/lang_resource.h"
#include "scanning/transfer_callback.h"
#include "tests/support/image_samples.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using preview::Rect;
using simulator::FaultPlan;
using simulator::TransferPoint;
using Names = std::set<std::wstring>;
using Stage = TransferPoint::Stage;

class Transfer : public testing::Test {
 protected:
  // A driver's report from within the transfer.
  void Report(LONG message, LONG percent, DWORD status = 0) const {
    WiaTransferParams report = {message, percent, 0, static_cast<HRESULT>(status)};
    EXPECT_EQ(host.scanner->KeptCallback()->TransferCallback(0, &report), S_OK);
  }
  ScanHost host;
};

TEST_F(Transfer, ScanWithoutPreviewIsTheDevicesFile) {
  host.hostileContent = true;
  host.scanner->SetFaults({.streamContent = Content(9, 'x')});
  for (const int feed : {0, 1, kPlaten}) {
    host.Run([feed](SimulatedUser& user) {
      user.Choose(IDC_FEED_METHOD, feed);
      user.Press(IDC_SCAN);
    });
    EXPECT_EQ(host.result, S_OK);
    EXPECT_EQ(host.Reported(), host.folder.File(L"Image (2).JPG"));
    EXPECT_EQ(host.Pages(), Names{L"Image (2).JPG"});
    EXPECT_EQ(Bytes(host.Reported()), "xxxxxxxxx");
    EXPECT_EQ(host.scanner->Transfers().back().item, feed == kPlaten ? L"Flatbed" : L"Feeder");
    GUID category = {};
    ASSERT_EQ(host.request.pWiaItem->GetItemCategory(&category), S_OK);
    EXPECT_TRUE(IsEqualGUID(category, feed == kPlaten ? WIA_CATEGORY_FLATBED : WIA_CATEGORY_FEEDER));
  }
  EXPECT_EQ(host.Run([](SimulatedUser&) {}), S_FALSE);
  EXPECT_EQ(host.Reported(), L"(none)");
}

// A frame away from the page's corner, on a page whose axes differ in resolution: the file is the very part of the
// page that the frame encloses, turned as the preview was.
TEST_F(Transfer, ScanIsTurnedAndCutLikeThePreview) {
  constexpr const char* kCorners[] = {"RGBY", "BRYG", "YBGR", "GYRB"};
  for (int turns = 0; turns < 4; ++turns) {
    for (const bool framed : {false, true}) {
      Rect frame;
      // 10 x 5 inches: 1000 x 1000 pixels, in the pane 120 x 120; the scan has twice as many.
      host.scanner->SetFaults({.streamContent = Quadrants(1000, 1000, 100, 200)});
      host.Run([&](SimulatedUser& user) {
        user.Press(IDC_PREVIEW);
        if (framed) {
          user.Press(IDM_ROTATE_LEFT);
          user.Press(IDC_PREVIEW);  // it lies as the device sends it again
          user.Press(IDC_TOOL_SELECT);
          user.Drag(24, 36, 84, 108);
        }
        for (int i = 0; i < turns; ++i) user.Press(IDC_TOOL_ROTATE);
        frame = user.Frame();
        host.scanner->SetFaults({.streamContent = Quadrants(2000, 2000, 200, 400)});
        user.Press(IDC_SCAN);
      });
      ASSERT_EQ(host.request.lNumFiles, 1);
      const GdiPlus session;
      Picture picture(host.Reported());
      const bool quarter = turns % 2 != 0;
      const double dpiX = quarter ? 400 : 200;
      const double dpiY = quarter ? 200 : 400;
      const auto pixels = [](int millimetres, double dpi) { return static_cast<int>(millimetres / 25.4 * dpi); };
      EXPECT_EQ(picture.Corners(), kCorners[turns]) << framed;
      EXPECT_TRUE(framed || picture.GetHorizontalResolution() == dpiX) << turns;
      EXPECT_TRUE(framed || picture.GetVerticalResolution() == dpiY) << turns;
      EXPECT_EQ(static_cast<int>(picture.GetWidth()), framed ? pixels(frame.width(), dpiX) : 2000) << turns;
      EXPECT_EQ(static_cast<int>(picture.GetHeight()), framed ? pixels(frame.height(), dpiY) : 2000) << turns;
      // The colours meet in the page's middle, as far from the frame's corner as the frame says.
      const int x = 1000 - pixels(frame.left, dpiX);
      const int y = 1000 - pixels(frame.top, dpiY);
      EXPECT_EQ(picture.ColorsAt(x - 16, y - 16, x + 16, y + 16), kCorners[turns]) << framed;
    }
  }
}

TEST_F(Transfer, FoldersAsAsked) {
  host.folderName += L"\\";
  host.Scan();
  EXPECT_EQ(host.Reported(), host.folder.File(L"Image (2).JPG")) << "no second backslash";
  const std::size_t transfers = host.scanner->Transfers().size();
  host.fileName = std::wstring(60, L'n');
  for (const std::wstring& bad :
       {std::wstring(), std::wstring(300, L'f'), host.folder.path.wstring() + std::wstring(200, L'p')}) {
    host.folderName = bad;
    host.Scan();
    EXPECT_EQ(host.Reported(), L"(none)");
  }
  EXPECT_EQ(host.scanner->Transfers().size(), transfers) << "nothing was transferred";
}

TEST_F(Transfer, DownloadsResultDecides) {
  host.hostileContent = true;
  host.scanner->SetFaults({.streamCount = 0});
  host.Scan();
  EXPECT_EQ(host.Reported(), L"(none)") << "no stream was asked for, so the file of that name is not ours";

  // S_FALSE reports the file and leaves it alone, also after a preview that was turned.
  host.Run([this](SimulatedUser& user) {
    host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
    user.Press(IDC_PREVIEW);
    user.Press(IDM_ROTATE_RIGHT);
    host.scanner->SetFaults({.downloadResult = S_FALSE, .streamContent = Content(9, 'x')});
    user.Press(IDC_SCAN);
  });
  EXPECT_EQ(Bytes(host.Reported()), "xxxxxxxxx");

  // What a failing scan delivered before it failed stays, unreported.
  host.scanner->SetFaults({.cutAfterBytes = 5000});
  host.Scan();
  EXPECT_EQ(host.Reported(), L"(none)");
  EXPECT_EQ(host.Pages(), Names{L"Image (2).JPG"});

  // A batch that the driver refuses does not stop the scan.
  host.scanner->ClearLog();
  host.scanner->SetFaults({});
  host.Scan();
  const auto calls = host.scanner->Calls();
  const auto isWrite = [](const std::string& call) { return call.ends_with("WriteMultiple"); };
  const auto write = std::find_if(calls.begin(), calls.end(), isWrite) - calls.begin() + 1;
  host.scanner->ClearLog();
  host.scanner->SetFaults({.calls = {{.call = static_cast<std::size_t>(write)}}, .streamContent = Content(9, 'x')});
  host.Scan();
  EXPECT_EQ(host.scanner->Batches().size(), 0U);
  EXPECT_EQ(Bytes(host.Reported()), "xxxxxxxxx");
}

// Files in the way, and a name that has a number itself. Nothing may land beside the asked folder.
TEST_F(Transfer, PagesOfAStackPassOverFilesThatAreThere) {
  ScanHost feeder({.feederPages = 4});
  feeder.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
  const TemporaryFolder parent;
  for (const std::wstring& name : {std::wstring(L"Page"), std::wstring(L"Page (7)")}) {
    const std::filesystem::path scans = parent.path / (L"scans of " + name);
    std::filesystem::create_directory(scans);
    Names expected;
    for (const wchar_t* number : {L"", L" (2)", L" (3)", L" (4)", L" (5)", L" (6)", L" (7)"}) {
      expected.insert(name + number + L".JPG");
    }
    const wchar_t* const taken[] = {L"", L" (2)", L" (4)"};
    for (const wchar_t* number : taken) std::ofstream(scans / (name + number + L".JPG")) << "x";
    feeder.folderName = scans.wstring();
    feeder.fileName = name;
    const std::size_t others = TemporaryPreviews().size();
    feeder.Run([others](SimulatedUser& user) {
      user.Press(IDC_PREVIEW);
      EXPECT_EQ(TemporaryPreviews().size(), others + 1) << "of a preview's pages only the first is kept";
      user.Press(IDC_SCAN);
    });
    EXPECT_EQ(NamesIn(scans), expected);
    EXPECT_EQ(parent.Names(), Names{scans.filename().wstring()});
    EXPECT_EQ(feeder.Reported(), (scans / (name + L" (3).JPG")).wstring());
    for (const wchar_t* number : taken) EXPECT_EQ(Bytes(scans / (name + number + L".JPG")), "x");
    std::filesystem::remove_all(scans);
  }
}

TEST_F(Transfer, DeviceErrorsAreShownOnce) {
  const std::pair<DWORD, const wchar_t*> errors[] = {
      {0x800403E9, L"Place original documents in the document processor."},
      {0x800403EA, L"Paper jam at the document processor."},
      {0x800403EB, L"Device is busy."},
      {0x800403EC, L"Scan failure."},
      {0x800403ED, L"The cover is open. Close top cover."},
      {0x800403EE, L"Cannot connect to the scanner."},
      {0x80210003, nullptr},
      {0x800403EF, nullptr}};
  for (const bool otherThread : {false, true}) {
    for (const auto& [status, text] : errors) {
      host.scanner->SetFaults({.statuses = {{static_cast<HRESULT>(status), 50, true}},
                               .streamContent = Content(999, 'x'),
                               .callbacksOnAnotherThread = otherThread});
      host.Scan();
      EXPECT_EQ(host.messages, text == nullptr ? std::vector<std::wstring>() : std::vector<std::wstring>{text});
      EXPECT_EQ(host.Reported(), L"(none)");
    }
  }
  // The same code in a message of another kind is no error, and no percentage.
  host.Run([&](SimulatedUser& user) {
    const auto hook = [&](const TransferPoint& point) {
      if (point.stage != Stage::pageDone) return;
      for (const LONG message : {2L, 3L, 5L, 6L}) Report(message, 42, 0x800403EA);
      user.Send(WM_APP + 77, 42);  // the application's own
      EXPECT_FALSE(user.Status(0).ends_with(L"42 %"));
    };
    host.scanner->SetFaults({.keepCallback = true, .hook = hook});
    user.Press(IDC_SCAN);
  });
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(Transfer, ProgressIsShownAtOnceAndGoesOnEveryPath) {
  // What the status bar says when a preview begins, has its stream, and is told of percents.
  const auto texts = [&](FaultPlan plan) {
    std::vector<std::wstring> seen;
    plan.keepCallback = true;
    plan.streamContent = Quadrants(90, 90, 100, 100);
    host.Run([&](SimulatedUser& user) {
      const auto look = [&, elsewhere = plan.callbacksOnAnotherThread] {
        seen.push_back(user.Status(0));  // from another thread: answered after what that one reported
        EXPECT_TRUE(elsewhere || !GetUpdateRect(user.Control(IDC_STATUS_BAR), nullptr, FALSE)) << "not painted yet";
      };
      plan.hook = [&](const TransferPoint& point) {
        if (point.stage == Stage::start || point.stage == Stage::streamOpened) look();
        if (point.stage == Stage::start) Sleep(150);  // a report a tenth of a second after another one is shown
        if (point.stage != Stage::pageDone) return;
        for (const LONG percent : {-5L, 42L, 250L}) {
          Sleep(150);
          Report(WIA_TRANSFER_MSG_STATUS, percent);
          look();
        }
      };
      host.scanner->SetFaults(plan);
      user.Press(IDC_PREVIEW);
      EXPECT_EQ(user.Status(0), L"");
    });
    host.scanner->SetFaults({});
    return seen;
  };
  const std::vector<std::wstring> all = {L"Please wait...", L"Scanning... 0 %", L"Scanning... 0 %", L"Scanning... 42 %",
                                         L"Scanning... 100 %"};
  EXPECT_EQ(texts({}), all);
  EXPECT_EQ(texts({.callbacksOnAnotherThread = true}), all);
  EXPECT_EQ(texts({.downloadResult = E_FAIL}), all);
  EXPECT_EQ(texts({.cutAfterBytes = 5}).size(), 2U) << "the device gives up";
  host.language = "040D";
  EXPECT_EQ(texts({}).back(), L"מתבצעת סריקה...\x200F 100 %\x200F");
}

// A driver's message loop lets commands in while a transfer runs: none may start a second one, end the dialog or change
// what the scan is cut to. The pointer is the busy one over the dialog.
TEST_F(Transfer, CommandsDuringATransfer) {
  const HCURSOR busy = LoadCursorW(nullptr, IDC_WAIT);
  const HCURSOR arrow = LoadCursorW(nullptr, IDC_ARROW);
  int meddled = 0;
  Rect frame;
  host.Run([&](SimulatedUser& user) {
    // The pointer that is asked for over a window when another is shown.
    const auto over = [](HWND window, HCURSOR shown) {
      SetCursor(shown);
      SendMessageW(window, WM_SETCURSOR, reinterpret_cast<WPARAM>(window), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
      return GetCursor();
    };
    const auto meddle = [&](const TransferPoint&) {
      ++meddled;
      EXPECT_EQ(GetCursor(), busy);
      for (const int command : {IDC_SCAN, IDC_PREVIEW, IDCANCEL, IDC_TOOL_ROTATE, IDC_TOOL_SELECT, IDM_ROTATE_LEFT,
                                IDM_ROTATE_RIGHT, IDM_ROTATE_UPSIDE_DOWN}) {
        user.Press(command);
      }
      user.Send(WM_CLOSE);
      user.Drag(9, 9, 30, 30);
      EXPECT_EQ(GetCursor(), busy);
      user.Settle();
      EXPECT_TRUE(user.IsShown());
      EXPECT_EQ(user.Frame(), frame) << "turned, or drawn anew";
      EXPECT_EQ(over(user.Control(IDC_SCAN), arrow), busy);
    };
    host.scanner->SetFaults({.streamContent = Quadrants(1700, 2200, 200, 200), .hook = meddle});
    user.Press(IDC_PREVIEW);
    EXPECT_EQ(GetCursor(), arrow);
    for (const HWND window : {user.Control(IDC_SCAN), user.Dialog()}) EXPECT_EQ(over(window, busy), arrow);
    user.Press(IDC_TOOL_SELECT);
    user.Drag(24, 24, 84, 60);
    frame = user.Frame();
    user.Press(IDC_SCAN);
  });
  EXPECT_GT(meddled, 4);
  EXPECT_EQ(host.scanner->Transfers().size(), 2U);
  const GdiPlus session;
  Picture scan(host.Reported());
  EXPECT_EQ(scan.GetWidth(), static_cast<UINT>(frame.width() / 25.4 * 200)) << "cut to the frame that was there";
  EXPECT_EQ(scan.Corners(), "RRRR") << "not turned";
}

platform::ComPtr<CSimpleWIACallback> MakeCallback(const std::wstring& path, HWND owner = nullptr) {
  platform::ComPtr<CSimpleWIACallback> callback;
  *callback.GetAddressOf() = new CSimpleWIACallback(owner, path.c_str());
  return callback;
}

TEST(TransferCallback, ComRules) {
  const TemporaryFolder folder;
  const auto callback = MakeCallback(folder.File(L"p.JPG"));
  EXPECT_EQ(callback->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  void* object = callback.Get();
  EXPECT_EQ(callback->QueryInterface(IID_IWiaTransfer, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(callback->TransferCallback(0, nullptr), S_OK);
  EXPECT_EQ(callback->GetNextStream(0, nullptr, nullptr, nullptr), E_FAIL);
  platform::ComPtr<IStream> stream;
  EXPECT_EQ(callback->GetNextStream(0, nullptr, nullptr, &stream), S_OK);
  EXPECT_EQ(callback->TakeFiles().at(0), folder.File(L"p.JPG"));
  stream.Reset();
  EXPECT_TRUE(MoveFileW(folder.File(L"p.JPG").c_str(), folder.File(L"q.JPG").c_str())) << "let go at the page's end";
  const std::wstring longest = folder.File(std::wstring(MAX_PATH - 1 - folder.File(L"").size(), L'n'));
  std::ofstream(std::filesystem::path(longest)) << "x";
  EXPECT_TRUE(FAILED(MakeCallback(longest)->GetNextStream(0, nullptr, nullptr, &stream))) << "no room for a number";
}

struct Box {
  static int WINAPI Show(HWND owner, LPCWSTR, LPCWSTR, UINT) {
    given = owner;
    shown = true;
    Sleep(300);
    left = true;
    return IDOK;
  }
  static inline std::atomic<HWND> given = nullptr;
  static inline std::atomic<bool> shown = false, left = false;
};

// The box of another thread: without an owner, which would wait for a thread that waits for it, and Close waits too.
TEST(TransferCallback, CloseWaitsForAMessageBoxOfAnotherThread) {
  void* const real = ReplaceImport("MessageBoxW", reinterpret_cast<void*>(&Box::Show));
  LANG_RESOURCE language(Library());
  g_pLangResource = &language;
  const HWND owner = CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
  const TemporaryFolder folder;
  const auto callback = MakeCallback(folder.File(L"p.JPG"), owner);
  WiaTransferParams jam = {WIA_TRANSFER_MSG_STATUS, 0, 0, static_cast<HRESULT>(0x800403EA)};
  callback->TransferCallback(0, &jam);
  EXPECT_EQ(Box::given, owner);
  Box::shown = Box::left = false;
  std::thread driver([&] { callback->TransferCallback(0, &jam); });
  while (!Box::shown) Sleep(1);
  callback->Close();
  EXPECT_TRUE(Box::left);
  EXPECT_EQ(Box::given, nullptr);
  driver.join();
  Box::shown = false;
  callback->TransferCallback(0, &jam);
  EXPECT_FALSE(Box::shown) << "after the end";
  g_pLangResource = nullptr;
  ReplaceImport("MessageBoxW", real);
  DestroyWindow(owner);
}

}  // namespace
