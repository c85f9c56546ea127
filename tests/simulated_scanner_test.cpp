// The simulated scanner has to be as strict as a driver: a lenient one would hide the dialog's faults.
#include "simulator/simulated_scanner.h"

#include <gtest/gtest.h>

#include "tests/support/image_samples.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using namespace simulator;
using platform::ComPtr;
using Values = std::vector<std::pair<PROPID, LONG>>;

HRESULT Write(IWiaPropertyStorage& storage, const Values& values, VARTYPE type = VT_I4) {
  std::vector<PROPSPEC> specifications;
  std::vector<PROPVARIANT> variants(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    specifications.push_back({PRSPEC_PROPID, {values[i].first}});
    variants[i].vt = type;
    variants[i].lVal = values[i].second;
  }
  return storage.WriteMultiple(static_cast<ULONG>(values.size()), specifications.data(), variants.data(), 6146);
}

TEST(SimulatedScanner, RefusesWhatADriverRefusesAndAppliesABatchWholeOrNotAtAll) {
  const SimulatedScanner scanner({.resolutions = {200, 300}});
  ComPtr<IEnumWiaItem2> items;
  ComPtr<IWiaItem2> item;
  ASSERT_EQ(scanner.Root()->EnumChildItems(&WIA_CATEGORY_FLATBED, &items), S_OK);
  ASSERT_EQ(items->Next(1, &item, nullptr), S_OK);
  const auto storage = platform::Query<IWiaPropertyStorage>(item.Get(), IID_IWiaPropertyStorage);
  const auto brightness = [&] { return std::get<LONG>(scanner.Property(WIA_CATEGORY_FLATBED, 6154)); };
  for (const auto& bad : Values{{6147, 600},
                                {6154, 4},
                                {3097, 0x800E},
                                {3088, 0x400},
                                {4103, 1},
                                {9999, 0},
                                {2, 0},
                                {kOriginalQuality, 0}}) {
    EXPECT_EQ(Write(*storage.Get(), {{6154, -3}, bad}), E_INVALIDARG) << bad.first;
  }
  EXPECT_EQ(Write(*storage.Get(), {{6154, -3}}, VT_UI4), E_INVALIDARG);
  EXPECT_EQ(brightness(), 0);
  EXPECT_EQ(Write(*storage.Get(), {{6154, -3}, {3097, 0x800F}, {6147, 300}, {kSendSize, 100}, {3088, 0x200}}), S_OK);
  EXPECT_EQ(brightness(), -3);
}

TEST(SimulatedScanner, SendsThePageAsItWasAskedFor) {
  const GdiPlus session;
  for (const bool landscape : {false, true}) {
    ScanHost host;
    host.Run([landscape](SimulatedUser& user) {
      user.Choose(IDC_FEED_METHOD, kPlaten);
      user.Choose(IDC_ORIGINAL_SIZE, 5);  // A6
      user.Choose(IDC_PLACEMENT, landscape ? 1 : 0);
      user.Choose(IDC_RESOLUTION, 0);
      user.Press(IDC_SCAN);
    });
    Picture page(host.Reported());
    EXPECT_EQ(page.GetWidth(), landscape ? 1165U : 827U);  // 105 x 148 mm at 200 dpi
    EXPECT_EQ(page.GetHeight(), landscape ? 827U : 1165U);
    EXPECT_TRUE(Shows(page, 20, 20, landscape ? kTopRightColor : kTopLeftColor));
    EXPECT_TRUE(Shows(page, page.GetWidth() - 20, 20, landscape ? kBottomRightColor : kTopRightColor));
  }
}

TEST(SimulatedScanner, FaultsByTheirText) {
  FaultPlan plan;
  for (const wchar_t* fault : {L"call:2=80070005", L"status:0x800403EA@50", L"thread", L"null-record"}) {
    EXPECT_TRUE(ParseFault(fault, plan)) << fault;
  }
  for (const wchar_t* fault : {L"call:0=1", L"call:1=0x", L"result:8000400G", L"status:800403EA", L"pause:1F@5"}) {
    EXPECT_FALSE(ParseFault(fault, plan)) << fault;
  }
  EXPECT_EQ(plan.calls.at(0).result, E_ACCESSDENIED);
  EXPECT_EQ(plan.statuses.at(0).status, static_cast<HRESULT>(0x800403EA));
  EXPECT_TRUE(plan.callbacksOnAnotherThread && plan.nullRecord);
}

}  // namespace
