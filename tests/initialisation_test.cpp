// The dialog as it opens for a device: capabilities, lists, title, status bar, and the batch that the device receives.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/scan_properties.h"
#include "core/settings_catalogue.h"
#include "simulator/device_registration.h"
#include "simulator/simulated_scanner.h"
#include "tests/support/dialog_harness.h"
#include "tests/support/machine.h"

namespace {

using simulator::CallFault;
using simulator::FaultPlan;
using simulator::ScannerConfiguration;
using simulator::SimulatedScanner;
using Texts = std::vector<std::wstring>;

Texts Entries(const harness::TestDialog& dialog, int list) {
  Texts texts;
  for (LRESULT i = 0; i < dialog.Send(list, CB_GETCOUNT); ++i) {
    wchar_t text[260] = {};
    dialog.Send(list, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
    texts.emplace_back(text);
  }
  return texts;
}

// Opens the dialog on a device and lets the script look at it; afterwards nothing of the device may be held.
void Open(SimulatedScanner& scanner, const harness::TestDialog::Script& script) {
  const auto root = scanner.Root();
  DEVICEDIALOGDATA2 request = {};
  request.pIWiaItemRoot = root.Get();
  harness::TestDialog dialog;
  harness::RunDialog(dialog, script, &request);
  const auto live = scanner.LiveObjects();
  ASSERT_EQ(live.size(), 1U);
  EXPECT_EQ(live[0].references, 1U);
}

TEST(Initialisation, IntegersOfEveryTypeThatADriverMayAnswer) {
  for (const VARTYPE type : {VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT, VT_R4}) {
    SimulatedScanner scanner({.integerType = type});
    Open(scanner, [type](harness::TestDialog& dialog) {
      EXPECT_EQ(dialog.Enabled(IDC_FEED_METHOD), type != VT_R4) << type;
      const bool is32Bits = type != VT_I2 && type != VT_UI2 && type != VT_R4;  // elements of a vector are no others
      EXPECT_EQ(dialog.Send(IDC_RESOLUTION, CB_GETCOUNT), is32Bits ? 4 : 2) << type;
    });
  }
}

TEST(Initialisation, FullDevice) {
  SimulatedScanner scanner;
  Open(scanner, [](harness::TestDialog& dialog) {
    EXPECT_EQ(Entries(dialog, IDC_RESOLUTION), (Texts{L"200x200 dpi", L"300x300 dpi", L"400x400 dpi", L"600x600 dpi"}));
    EXPECT_EQ(Entries(dialog, IDC_FEED_METHOD), (Texts{L"Auto", L"Document Processor", L"Platen"}));
    EXPECT_EQ(Entries(dialog, IDC_PLACEMENT), (Texts{L"Portrait (Long Edge)", L"Landscape (Short Edge)"}));
    EXPECT_EQ(Entries(dialog, IDC_ORIGINAL_QUALITY), (Texts{L"Text", L"Photo", L"Text + Photo"}));
    EXPECT_EQ(Entries(dialog, IDC_SCAN_METHOD), (Texts{L"Auto", L"Page"}));
    EXPECT_EQ(Entries(dialog, IDC_SCAN_COLOR), (Texts{L"Full Color", L"Grayscale"}));
    EXPECT_EQ(Entries(dialog, IDC_ZOOM_LIST), (Texts{L"50%", L"75%", L"100%", L"150%", L"200%", L"300%", L"400%"}));
    EXPECT_EQ(dialog.Send(IDC_ZOOM_LIST, CB_GETITEMDATA, 6), 400);
    const Texts sizes = Entries(dialog, IDC_ORIGINAL_SIZE);
    Texts sendSizes = Entries(dialog, IDC_SEND_SIZE);
    ASSERT_EQ(sizes.size(), 23U);
    EXPECT_EQ(sizes[21], L"16K");
    ASSERT_EQ(sendSizes.size(), 24U);
    EXPECT_EQ(sendSizes[0], L"Auto");
    sendSizes.erase(sendSizes.begin());
    EXPECT_EQ(sendSizes, sizes);

    const std::pair<int, int> defaults[] = {{IDC_ORIGINAL_SIZE, 0},    {IDC_PLACEMENT, 0},   {IDC_FEED_METHOD, 0},
                                            {IDC_ORIGINAL_QUALITY, 2}, {IDC_SCAN_METHOD, 0}, {IDC_SEND_SIZE, 0},
                                            {IDC_SCAN_COLOR, 0},       {IDC_RESOLUTION, 1},  {IDC_ZOOM_LIST, 2}};
    for (const auto& [list, index] : defaults) {
      EXPECT_EQ(dialog.Send(list, CB_GETCURSEL), index) << list;
    }
    EXPECT_EQ(dialog.Send(IDC_BRIGHTNESS, TBM_GETRANGEMIN), -3);
    EXPECT_EQ(dialog.Send(IDC_BRIGHTNESS, TBM_GETRANGEMAX), 3);
    EXPECT_EQ(dialog.Send(IDC_BRIGHTNESS, TBM_GETPOS), 0);
    EXPECT_TRUE(dialog.Enabled(IDC_FEED_METHOD));
    for (const int preview : {IDC_PREVIEW_PANE, IDC_ZOOM_LIST, IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_ROTATE,
                              IDC_TOOL_PAN, IDC_HORIZONTAL_SCROLL, IDC_VERTICAL_SCROLL}) {
      EXPECT_FALSE(dialog.Enabled(preview)) << preview;
    }
    for (const int tool : {IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_ROTATE, IDC_TOOL_PAN}) {
      EXPECT_NE(dialog.Send(tool, BM_GETIMAGE, IMAGE_ICON), 0) << tool;
    }
    RECT client = {};
    GetClientRect(dialog.m_hDlg, &client);
    std::vector<int> edges(3);
    EXPECT_EQ(dialog.Send(IDC_STATUS_BAR, SB_GETPARTS, 3, reinterpret_cast<LPARAM>(edges.data())), 3);
    EXPECT_EQ(edges, (std::vector<int>{client.right - 300, client.right - 150, client.right}));
    EXPECT_EQ(dialog.m_bInch, 1) << "en_US measures in inches";
  });
}

TEST(Initialisation, CapabilitiesDecideTheLists) {
  const struct {
    ScannerConfiguration device;
    bool feeder;
    bool has400;
    bool has600;
  } devices[] = {
      {{.hasFeeder = false, .resolutions = {75, 150, 200, 300, 600}}, false, false, true},
      {{.resolutions = {200, 300, 400}}, true, true, false},
      {{.resolutions = {200, 300}}, true, false, false},
      {{.resolutions = {200, 300}, .nominalResolution = 400}, true, true, false},
      {{.hasFlatbed = false}, true, false, false},
      {{.rawResolutionValues = std::vector<LONG>{}}, true, false, false},
      {{.rawResolutionValues = std::vector<LONG>{400, 200}}, true, true, false},  // the count is a value, too
  };
  for (const auto& expected : devices) {
    SimulatedScanner scanner(expected.device);
    Open(scanner, [&](harness::TestDialog& dialog) {
      Texts resolutions = {L"200x200 dpi", L"300x300 dpi"};
      if (expected.has400) resolutions.emplace_back(L"400x400 dpi");
      if (expected.has600) resolutions.emplace_back(L"600x600 dpi");
      EXPECT_EQ(Entries(dialog, IDC_RESOLUTION), resolutions);
      EXPECT_EQ(dialog.Enabled(IDC_FEED_METHOD), expected.feeder);
      EXPECT_EQ(dialog.Send(IDC_FEED_METHOD, CB_GETCURSEL), expected.feeder ? 0 : 2);
      // The last entry, whatever its position, stands for its text.
      dialog.Send(IDC_RESOLUTION, CB_SETCURSEL, resolutions.size() - 1);
      EXPECT_EQ(dialog.ReadSettings().resolutionDpi, std::stoi(resolutions.back()));
      dialog.Command(IDC_DEFAULT);
      EXPECT_EQ(dialog.Send(IDC_RESOLUTION, CB_GETCURSEL), 1);
      EXPECT_EQ(dialog.Enabled(IDC_FEED_METHOD), expected.feeder);
    });
  }
}

// Each call that initialisation makes fails in turn: the dialog opens all the same, and what still answers is used.
TEST(Initialisation, FailingReadsLeaveADialogThatOpens) {
  SimulatedScanner counter;
  Open(counter, [](harness::TestDialog&) {});
  const std::size_t calls = counter.Calls().size();
  ASSERT_GE(calls, 9U);
  for (std::size_t call = 1; call <= calls; ++call) {
    for (const auto kind : {CallFault::Kind::result, CallFault::Kind::wrongType, CallFault::Kind::wrongCount}) {
      SimulatedScanner scanner({}, {.calls = {{call, kind, E_FAIL, false}}});
      bool opened = false;
      Open(scanner, [&](harness::TestDialog& dialog) {
        opened = dialog.Enabled(IDC_SCAN) && Entries(dialog, IDC_RESOLUTION).size() >= 2;
      });
      EXPECT_TRUE(opened) << counter.Calls()[call - 1];
    }
  }
  SimulatedScanner dead({}, {.calls = {{1, CallFault::Kind::result, E_FAIL, true}}});
  Open(dead, [](harness::TestDialog& dialog) {
    EXPECT_FALSE(dialog.m_bHasFeeder || dialog.m_bRes400 || dialog.m_bRes600);
    EXPECT_EQ(dialog.Text(0), L"");
  });
}

TEST(Initialisation, TitleIsTheDevicesRegistryName) {
  if (simulator::LeaveMachine()) {
    GTEST_SKIP() << "registers devices on this machine";
  }
  const std::wstring id = L"{6BDD1FC6-810F-11D0-BEC7-08002BE2092F}\\0007";
  const auto title = [](const ScannerConfiguration& device) {
    SimulatedScanner scanner(device);
    std::wstring text;
    Open(scanner, [&](harness::TestDialog& dialog) { text = dialog.Text(0); });
    return text;
  };
  using simulator::DeviceRegistration;
  EXPECT_EQ(title({.deviceId = id}), L"") << "no device";
  {
    const DeviceRegistration other({L"another", L"Other", {}});
    const DeviceRegistration device({L"{6bdd1fc6-810f-11d0-bec7-08002be2092f}\\0007", L"Office Scanner", L"Driver"});
    ASSERT_TRUE(device.Registered());
    EXPECT_EQ(title({.deviceId = id}), L"Office Scanner") << "whatever the letter case";
    const DeviceRegistration second({id, L"Second", {}});
    EXPECT_EQ(title({.deviceId = id}), L"Second") << "the last of two with one identifier";
    EXPECT_EQ(title({.deviceId = id, .nullDeviceId = true}), L"");
    EXPECT_EQ(title({.deviceId = std::wstring(10000, L'd')}), L"");
  }
  {
    const DeviceRegistration device({id, {}, L"Driver Description"});
    EXPECT_EQ(title({.deviceId = id}), L"Driver Description");
  }
  const DeviceRegistration nameless({id, {}, {}});
  EXPECT_EQ(title({.deviceId = id}), L"");
}

// The batch as the driver received it: types, order, and the identifier from which names may be given.
TEST(Initialisation, DriverReceivesTheBatch) {
  SimulatedScanner scanner;
  Open(scanner, [](harness::TestDialog& dialog) {
    dialog.Send(IDC_ORIGINAL_SIZE, CB_SETCURSEL, 3);
    dialog.Send(IDC_BRIGHTNESS, TBM_SETPOS, TRUE, -2);
    dialog.Send(IDC_RESOLUTION, CB_SETCURSEL, 3);
    dialog.TransferImage(1);
  });
  const auto batches = scanner.Batches();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].item, L"Feeder");
  EXPECT_EQ(batches[0].firstName, 6146U);
  EXPECT_EQ(batches[0].result, S_OK) << "a real driver's validation takes it";
  ASSERT_EQ(batches[0].entries.size(), 15U);
  EXPECT_EQ(batches[0].entries[0].type, VT_CLSID);
  EXPECT_EQ(std::get<GUID>(batches[0].entries[0].value), WiaImgFmt_JPEG);
  const std::pair<PROPID, LONG> expected[] = {{3100, 1}, {3097, 0}, {6154, -2}, {6147, 200}, {6148, 200}};
  for (const auto& [id, value] : expected) {
    const auto entry = std::find_if(batches[0].entries.begin(), batches[0].entries.end(),
                                    [id = id](const auto& written) { return written.id == id; });
    ASSERT_NE(entry, batches[0].entries.end());
    EXPECT_EQ(entry->type, VT_I4);
    EXPECT_EQ(std::get<LONG>(entry->value), value) << id;
  }
}

}  // namespace
