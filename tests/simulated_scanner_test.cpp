// The simulated scanner has to be as strict as a driver: a lenient one would hide the dialog's faults.
#include "simulator/simulated_scanner.h"

#include <gtest/gtest.h>

#include "tests/support/image_samples.h"
#include "tests/support/page_receiver.h"

namespace {

using namespace simulator;
using platform::ComPtr;
using Values = std::vector<std::pair<PROPID, LONG>>;

using Receiver = PageReceiver;

template <class Interface>
ComPtr<Interface> Query(IWiaItem2& item, REFIID iid) {
  ComPtr<Interface> result;
  item.QueryInterface(iid, reinterpret_cast<void**>(result.GetAddressOf()));
  return result;
}

ComPtr<IWiaItem2> Child(const SimulatedScanner& scanner, const GUID& category) {
  ComPtr<IEnumWiaItem2> items;
  ComPtr<IWiaItem2> item;
  EXPECT_EQ(scanner.Root()->EnumChildItems(&category, &items), S_OK);
  EXPECT_EQ(items->Next(1, &item, nullptr), S_OK);
  return item;
}

HRESULT Write(IWiaItem2& item, const Values& values, VARTYPE type = VT_I4) {
  std::vector<PROPSPEC> specifications;
  std::vector<PROPVARIANT> variants(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    specifications.push_back({PRSPEC_PROPID, {values[i].first}});
    variants[i].vt = type;
    variants[i].lVal = values[i].second;
  }
  return Query<IWiaPropertyStorage>(item, IID_IWiaPropertyStorage)
      ->WriteMultiple(static_cast<ULONG>(values.size()), specifications.data(), variants.data(), 6146);
}

HRESULT Download(IWiaItem2& item, Receiver& receiver) {
  return Query<IWiaTransfer>(item, IID_IWiaTransfer)->Download(0, &receiver);
}

TEST(SimulatedScanner, RefusesWhatADriverRefusesAndAppliesABatchWholeOrNotAtAll) {
  SimulatedScanner scanner({.resolutions = {200, 300}});
  const auto item = Child(scanner, WIA_CATEGORY_FLATBED);
  const Values refused = {{6147, 600}, {6154, 4}, {3097, 0x800E}, {3088, 0x400},
                          {4103, 1},   {9999, 0}, {2, 0},         {kOriginalQuality, 0}};
  for (const auto& bad : refused) {
    EXPECT_EQ(Write(*item.Get(), {{6154, -3}, bad}), E_INVALIDARG) << bad.first;
  }
  EXPECT_EQ(Write(*item.Get(), {{6154, -3}}, VT_UI4), E_INVALIDARG);
  EXPECT_EQ(std::get<LONG>(scanner.Property(WIA_CATEGORY_FLATBED, 6154)), 0);
  EXPECT_EQ(Write(*item.Get(), {{6154, -3}, {3097, 0x800F}, {6147, 300}, {kSendSize, 100}, {3088, 0x200}}), S_OK);
  EXPECT_EQ(std::get<LONG>(scanner.Property(WIA_CATEGORY_FLATBED, 6154)), -3);
  ASSERT_EQ(scanner.Batches().size(), refused.size() + 2);
  const WrittenBatch batch = scanner.Batches().back();
  EXPECT_TRUE(batch.item == L"Flatbed" && batch.firstName == 6146 && batch.entries[1].id == 3097);
}

TEST(SimulatedScanner, EnumeratorsEndAndEveryReferenceIsCounted) {
  SimulatedScanner scanner({.hasFeeder = false});
  {
    const auto root = scanner.Root();
    const auto item = Child(scanner, WIA_CATEGORY_FLATBED);
    ComPtr<IEnumWiaItem2> items;
    root->EnumChildItems(&WIA_CATEGORY_FEEDER, &items);
    IWiaItem2* none = root.Get();
    ULONG fetched = 7;
    EXPECT_EQ(items->Next(1, &none, &fetched), S_FALSE);
    EXPECT_TRUE(none == nullptr && fetched == 0);
    EXPECT_EQ(Query<IWiaTransfer>(*root.Get(), IID_IWiaTransfer), nullptr);
    const auto transfer = Query<IWiaTransfer>(*item.Get(), IID_IWiaTransfer);
    const std::vector<LiveObject> live = scanner.LiveObjects();
    ASSERT_EQ(live.size(), 3u);
    EXPECT_TRUE(live[1].kind == "Flatbed" && live[1].references == 2);
  }
  EXPECT_TRUE(scanner.LiveObjects().empty());
}

TEST(SimulatedScanner, SendsThePageAtTheItemsSettings) {
  const GdiplusSession session;
  SimulatedScanner scanner;
  const auto item = Child(scanner, WIA_CATEGORY_FLATBED);
  // Turned counter-clockwise: the corner that is at the top left afterwards. The opposite one is two turns further.
  const COLORREF topLeft[] = {kTopLeftColor, kTopRightColor, kBottomRightColor, kBottomLeftColor};
  for (const LONG turn : {0, 1, 2, 3}) {
    Receiver receiver;
    const bool upright = turn % 2 == 0;
    ASSERT_EQ(Write(*item.Get(), {{3097, 12}, {6147, 150}, {6148, 75}, {6157, turn}}), S_OK);
    ASSERT_EQ(Download(*item.Get(), receiver), S_OK);
    Gdiplus::Bitmap image(receiver.pages.at(0).Get());
    EXPECT_EQ(image.GetWidth(), upright ? 620u : 437u);  // 105 x 148 mm
    EXPECT_EQ(image.GetHeight(), upright ? 437u : 620u);
    EXPECT_NEAR(image.GetHorizontalResolution(), upright ? 150 : 75, 0.1);
    EXPECT_TRUE(samples::Shows(image, 10, 10, topLeft[turn])) << turn;
    EXPECT_TRUE(samples::Shows(image, image.GetWidth() - 10, image.GetHeight() - 10, topLeft[(turn + 2) % 4])) << turn;
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat24bppRGB);
    EXPECT_TRUE(receiver.rising && receiver.percent == 100 && receiver.references == 1);
  }
  Receiver gray;
  ASSERT_EQ(Write(*item.Get(), {{4103, 2}}), S_OK);
  ASSERT_EQ(Download(*item.Get(), gray), S_OK);
  EXPECT_EQ(Gdiplus::Bitmap(gray.pages.at(0).Get()).GetPixelFormat(), PixelFormat8bppIndexed);
}

TEST(SimulatedScanner, MisbehavesAsPlanned) {
  SimulatedScanner scanner({.feederPages = 3});
  const auto item = Child(scanner, WIA_CATEGORY_FEEDER);
  scanner.ClearLog();
  FaultPlan plan;
  for (const wchar_t* fault : {L"call:2=80070005", L"status:0x800403EA@50", L"thread", L"null-record"}) {
    EXPECT_TRUE(ParseFault(fault, plan)) << fault;
  }
  for (const wchar_t* fault : {L"call:0=1", L"call:1=0x", L"result:8000400G", L"status:800403EA", L"pause:1F@5"}) {
    EXPECT_FALSE(ParseFault(fault, plan)) << fault;
  }
  scanner.SetFaults(plan);
  Receiver receiver;
  EXPECT_EQ(Download(*item.Get(), receiver), E_ACCESSDENIED);  // call 1 asked for the interface
  EXPECT_EQ(Download(*item.Get(), receiver), S_OK);
  ASSERT_EQ(scanner.Calls().size(), 4u);
  EXPECT_EQ(scanner.Calls()[1], "IWiaTransfer::Download");
  EXPECT_TRUE(receiver.pages.size() == 3 && receiver.nullRecords == 1 && receiver.status == HRESULT(0x800403EA));
  EXPECT_NE(receiver.thread, GetCurrentThreadId());
  ParseFault(L"stop:800403EB@60", plan);
  scanner.SetFaults(plan);
  EXPECT_EQ(Download(*item.Get(), receiver), HRESULT(0x800403EB));
  receiver.refuse = true;
  EXPECT_EQ(Download(*item.Get(), receiver), STG_E_ACCESSDENIED);
  scanner.SetFaults({.calls = {{.call = 1, .result = E_FAIL, .fromThenOn = true}}});
  EXPECT_EQ(item->GetRootItem(nullptr), E_FAIL);
}

}  // namespace
