// The dialog as it opens for a device, and what the device is told: capabilities, lists, title, units, the batch.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "simulator/device_registration.h"
#include "tests/support/image_samples.h"
#include "tests/support/machine.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using simulator::CallFault;
using simulator::ScannerConfiguration;
using Texts = std::vector<std::wstring>;

// The numbers of the last batch that the device received.
std::map<PROPID, LONG> LastBatch(const ScanHost& host) {
  std::map<PROPID, LONG> numbers;
  const auto batches = host.scanner->Batches();
  for (const auto& entry : batches.back().entries) {
    if (entry.type == VT_I4) numbers[entry.id] = std::get<LONG>(entry.value);
  }
  return numbers;
}

TEST(Settings, FullDevice) {
  ScanHost host;
  host.Run([](SimulatedUser& user) {
    EXPECT_EQ(user.Entries(IDC_FEED_METHOD), (Texts{L"Auto", L"Document Processor", L"Platen"}));
    EXPECT_EQ(user.Entries(IDC_PLACEMENT), (Texts{L"Portrait (Long Edge)", L"Landscape (Short Edge)"}));
    EXPECT_EQ(user.Entries(IDC_ORIGINAL_QUALITY), (Texts{L"Text", L"Photo", L"Text + Photo"}));
    EXPECT_EQ(user.Entries(IDC_SCAN_METHOD), (Texts{L"Auto", L"Page"}));
    EXPECT_EQ(user.Entries(IDC_SCAN_COLOR), (Texts{L"Full Color", L"Grayscale"}));
    EXPECT_EQ(user.Entries(IDC_ZOOM_LIST), (Texts{L"50%", L"75%", L"100%", L"150%", L"200%", L"300%", L"400%"}));
    EXPECT_EQ(user.Entries(IDC_ORIGINAL_SIZE).at(3), L"A4");
    EXPECT_EQ(user.Ask(IDC_BRIGHTNESS, TBM_GETRANGEMIN), -3);
    EXPECT_EQ(user.Ask(IDC_BRIGHTNESS, TBM_GETRANGEMAX), 3);
    RECT thumb = {};
    user.Ask(IDC_BRIGHTNESS, TBM_GETTHUMBRECT, 0, reinterpret_cast<LPARAM>(&thumb));
    const RECT slider = user.Area(IDC_BRIGHTNESS);
    EXPECT_NEAR(thumb.left + thumb.right, slider.right - slider.left, 8) << "shown in the middle";
    const RECT bar = user.Area(IDC_STATUS_BAR);
    const int width = bar.right - bar.left;
    int edges[3] = {};
    EXPECT_EQ(user.Ask(IDC_STATUS_BAR, SB_GETPARTS, 3, reinterpret_cast<LPARAM>(edges)), 3);
    EXPECT_TRUE(width / 4 < edges[0] && edges[0] < edges[1] && edges[1] < edges[2] && edges[2] == width)
        << testing::PrintToString(edges) << ": room for the progress, position and size";
    for (const int hidden : {1045, 1062, 109, 1006, 1019, 1011, 1074, 1012, 1024, 1073}) {
      EXPECT_FALSE(IsWindowVisible(user.Control(hidden))) << hidden;
    }
    EXPECT_EQ(SendMessageW(user.Dialog(), DM_GETDEFID, 0, 0), MAKELRESULT(IDC_SCAN, DC_HASDEFID));
  });
}

TEST(Settings, CapabilitiesDecideTheLists) {
  const std::tuple<ScannerConfiguration, bool, Texts> devices[] = {
      {{.hasFeeder = false, .resolutions = {75, 150, 200, 300, 600}}, false, {L"600x600 dpi"}},
      {{.resolutions = {200, 300, 400}}, true, {L"400x400 dpi"}},
      {{.hasFlatbed = false}, true, {}},
      {{.rawResolutionValues = std::vector<LONG>{400, 200}}, true, {L"400x400 dpi"}},  // the count is a value, too
      {{.integerType = VT_I2}, true, {}},  // elements of a vector are 32-bit integers and no others
      {{.integerType = VT_UI4}, true, {L"400x400 dpi", L"600x600 dpi"}},
      {{.integerType = VT_R4}, false, {}},
  };
  for (const auto& [device, feeder, beyond300] : devices) {
    ScanHost host(device);
    host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
    host.Run([&](SimulatedUser& user) {
      Texts resolutions = {L"200x200 dpi", L"300x300 dpi"};
      resolutions.insert(resolutions.end(), beyond300.begin(), beyond300.end());
      EXPECT_EQ(user.Entries(IDC_RESOLUTION), resolutions);
      EXPECT_EQ(user.IsEnabled(IDC_FEED_METHOD), feeder);
      EXPECT_EQ(user.Selected(IDC_FEED_METHOD), feeder ? 0 : kPlaten);
      user.Choose(IDC_RESOLUTION, static_cast<int>(resolutions.size()) - 1);
      user.Press(IDC_SCAN);
      EXPECT_EQ(LastBatch(host)[6147], std::stoi(resolutions.back()));
    });
  }
}

// What the device receives for every setting that is not the default, for all of them at once so that none is taken for
// another, and after the Default button.
TEST(Settings, DriverReceivesWhatIsShown) {
  ScanHost host;
  const std::map<PROPID, LONG> defaults = {{3100, 0},  {3097, 1},    {6157, 0},   {4103, 3}, {71693, 1},
                                           {71694, 3}, {71696, 100}, {71695, 0},  {6154, 0}, {3088, 0x200},
                                           {3096, 0},  {6147, 300},  {6148, 300}, {71697, 0}};
  const std::map<PROPID, LONG> others = {{3100, 0},  {3097, 0},   {6157, 1},   {4103, 2},  {71693, 0},
                                         {71694, 2}, {71696, 5},  {71695, 0},  {6154, -2}, {3088, 1},
                                         {3096, 1},  {6147, 600}, {6148, 600}, {71697, 1}};
  const auto chooseOthers = [](SimulatedUser& user) {
    const std::pair<int, int> entries[] = {{IDC_ORIGINAL_SIZE, 3},    {IDC_PLACEMENT, 1},   {IDC_FEED_METHOD, 1},
                                           {IDC_ORIGINAL_QUALITY, 1}, {IDC_SCAN_METHOD, 1}, {IDC_SEND_SIZE, 3},
                                           {IDC_SCAN_COLOR, 1},       {IDC_RESOLUTION, 3}};
    for (const auto& [list, entry] : entries) user.Choose(list, entry);
    user.Ask(IDC_BRIGHTNESS, TBM_SETPOS, TRUE, -2);
    user.Ask(IDC_REVERSE_IMAGE, BM_SETCHECK, BST_CHECKED);
  };
  host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
  host.Scan();
  EXPECT_EQ(LastBatch(host), defaults);
  const simulator::WrittenBatch batch = host.scanner->Batches().back();
  EXPECT_EQ(batch.item, L"Feeder");
  EXPECT_EQ(batch.firstName, 6146U);
  EXPECT_EQ(batch.result, S_OK) << "a real driver's validation takes it";
  EXPECT_EQ(std::get<GUID>(batch.entries[0].value), WiaImgFmt_JPEG);
  host.Run([&](SimulatedUser& user) {
    chooseOthers(user);
    user.Press(IDC_PREVIEW);
    std::map<PROPID, LONG> preview = others;
    preview[3100] = 1;
    preview[6147] = preview[6148] = 200;
    EXPECT_EQ(LastBatch(host), preview);
    user.Press(IDC_SCAN);
  });
  EXPECT_EQ(LastBatch(host), others);
  host.Run([&](SimulatedUser& user) {
    chooseOthers(user);
    user.Ask(IDC_AUTO_BRIGHTNESS, BM_SETCHECK, BST_CHECKED);
    user.Press(IDC_PREVIEW);
    EXPECT_EQ(LastBatch(host)[71695], 1);
    EXPECT_EQ(LastBatch(host).count(6154), 0U) << "the device decides";
    user.Press(IDC_DEFAULT);
    user.Ask(IDC_REVERSE_IMAGE, BM_SETCHECK, BST_UNCHECKED);  // a hidden one, which Default leaves alone
    user.Press(IDC_SCAN);
  });
  EXPECT_EQ(LastBatch(host), defaults);
  // Without a selection: what cannot do harm, and nothing of the scan method.
  host.Run([&](SimulatedUser& user) {
    for (const int list : {IDC_ORIGINAL_SIZE, IDC_PLACEMENT, IDC_FEED_METHOD, IDC_ORIGINAL_QUALITY, IDC_SCAN_METHOD,
                           IDC_SEND_SIZE, IDC_SCAN_COLOR}) {
      user.Choose(list, -1);
    }
    user.Press(IDC_SCAN);
  });
  const std::map<PROPID, LONG> harmless = {{3100, 0},  {3097, 0},  {6157, 0}, {4103, 3},   {71693, 0},  {71694, 0},
                                           {71696, 0}, {71695, 0}, {6154, 0}, {6147, 300}, {6148, 300}, {71697, 0}};
  EXPECT_EQ(LastBatch(host), harmless);
}

// Only an exact S_OK says that there are values; what still answers is used.
TEST(Settings, AttributesThatAreNotAllThereAreNotRead) {
  ScanHost host;
  host.Run([](SimulatedUser&) {});
  const auto calls = host.scanner->Calls();
  const auto isRead = [](const std::string& call) { return call.ends_with("GetPropertyAttributes"); };
  const auto read = std::find_if(calls.begin(), calls.end(), isRead) - calls.begin() + 1;
  host.scanner->ClearLog();
  host.scanner->SetFaults({.calls = {{static_cast<std::size_t>(read), CallFault::Kind::lateResult, S_FALSE}}});
  host.Run([](SimulatedUser& user) { EXPECT_EQ(user.Entries(IDC_RESOLUTION).size(), 2U); });
}

TEST(Settings, TitleIsTheDevicesRegistryName) {
  if (leaveMachine) GTEST_SKIP() << "makes devices";
  const std::wstring id = L"{6BDD1FC6-810F-11D0-BEC7-08002BE2092F}\\0007";
  const auto title = [&id] {
    ScanHost host({.deviceId = id});
    std::wstring text;
    host.Run([&](SimulatedUser& user) { text = user.Text(0); });
    return text;
  };
  using simulator::DeviceRegistration;
  const DeviceRegistration other({L"another", L"Other", {}});
  EXPECT_EQ(title(), L"") << "no device of that identifier";
  const DeviceRegistration device({L"{6bdd1fc6-810f-11d0-bec7-08002be2092f}\\0007", L"Office Scanner", L"Driver"});
  ASSERT_TRUE(device.Registered());
  EXPECT_EQ(title(), L"Office Scanner") << "whatever the letter case";
  const DeviceRegistration described({id, {}, L"Driver Description"});
  EXPECT_EQ(title(), L"Driver Description") << "the last of two with one identifier";
  const DeviceRegistration nameless({id, {}, {}});
  EXPECT_EQ(title(), L"");
}

TEST(Settings, LengthsAreInTheUsersUnits) {
  ScanHost host;
  host.scanner->SetFaults({.streamContent = Quadrants(1700, 2200, 200, 200)});
  for (const bool inches : {false, true}) {
    host.inches = inches;
    host.Run([inches](SimulatedUser& user) {
      const auto readout = [&user] { return user.Status(1) + L";" + user.Status(2); };
      user.Press(IDC_PREVIEW);
      user.Press(IDC_TOOL_SELECT);
      user.Drag(60, 60, 110, 100);
      EXPECT_EQ(readout(), inches ? L" 2.52inch,  2.52inch; 2.05inch,  1.65inch" : L" 64mm,  64mm; 52mm x  42mm");
      user.Press(IDC_TOOL_ROTATE);
      EXPECT_EQ(readout(), inches ? L" 6.81inch,  2.52inch; 1.65inch,  2.05inch" : L"173mm,  64mm; 42mm x  52mm");
    });
  }
}

}  // namespace
