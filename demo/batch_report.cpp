#include "demo/batch_report.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "platform/scoped.h"
#include "simulator/simulated_scanner.h"

namespace simulator {
namespace {

using platform::ScopedPropVariant;

struct NamedProperty {
  PROPID id;
  const wchar_t* name;
};

constexpr NamedProperty kProperties[] = {
    {WIA_IPS_DOCUMENT_HANDLING_SELECT, L"WIA_IPS_DOCUMENT_HANDLING_SELECT"},
    {WIA_IPS_PAGES, L"WIA_IPS_PAGES"},
    {WIA_IPS_PAGE_SIZE, L"WIA_IPS_PAGE_SIZE"},
    {WIA_IPS_PREVIEW, L"WIA_IPS_PREVIEW"},
    {WIA_IPA_DATATYPE, L"WIA_IPA_DATATYPE"},
    {WIA_IPA_FORMAT, L"WIA_IPA_FORMAT"},
    {WIA_IPS_XRES, L"WIA_IPS_XRES"},
    {WIA_IPS_YRES, L"WIA_IPS_YRES"},
    {WIA_IPS_BRIGHTNESS, L"WIA_IPS_BRIGHTNESS"},
    {WIA_IPS_ROTATION, L"WIA_IPS_ROTATION"},
    {kAutoFeed, L"PROP_AUTO_FEED"},
    {kOriginalQuality, L"PROP_ORIGINAL_QUALITY"},
    {kAutoBrightness, L"PROP_AUTO_BRIGHTNESS"},
    {kSendSize, L"PROP_SEND_SIZE"},
    {kReverseImage, L"PROP_REVERSE_IMAGE"},
};

struct NamedResult {
  HRESULT result;
  const wchar_t* words;
};

constexpr NamedResult kResults[] = {
    {S_OK, L"complete"},
    {S_FALSE, L"ended early, without an error"},
    // What the dialog's driver reports.
    {static_cast<HRESULT>(0x800403E9), L"no paper"},
    {static_cast<HRESULT>(0x800403EA), L"paper jam"},
    {static_cast<HRESULT>(0x800403EB), L"the device is busy"},
    {static_cast<HRESULT>(0x800403EC), L"the scan failed"},
    {static_cast<HRESULT>(0x800403ED), L"the cover is open"},
    {static_cast<HRESULT>(0x800403EE), L"the scanner can't be reached"},
    // WIA's own, and what COM answers for a process that is gone.
    {static_cast<HRESULT>(0x80210001), L"the device failed"},
    {static_cast<HRESULT>(0x80210002), L"paper jam"},
    {static_cast<HRESULT>(0x80210003), L"no paper in the feeder"},
    {static_cast<HRESULT>(0x80210004), L"trouble with the paper"},
    {static_cast<HRESULT>(0x80210005), L"the device is offline: switch it on and check its cable"},
    {static_cast<HRESULT>(0x80210006), L"the device is busy: close other programs that use it"},
    {static_cast<HRESULT>(0x80210007), L"the device is warming up: try again in a minute"},
    {static_cast<HRESULT>(0x80210008), L"the device wants attention: look at its display"},
    {static_cast<HRESULT>(0x80210009), L"the device is gone: connect it, and start this program again"},
    {static_cast<HRESULT>(0x8021000A),
     L"the connection to the device broke: check its cable, and start this program again"},
    {static_cast<HRESULT>(0x8021000B), L"the driver does not know this command"},
    {static_cast<HRESULT>(0x8021000C), L"a setting of the device is wrong"},
    {static_cast<HRESULT>(0x8021000D), L"the device is locked"},
    {static_cast<HRESULT>(0x8021000E), L"an exception in the driver"},
    {static_cast<HRESULT>(0x8021000F), L"the driver answered something invalid"},
    {static_cast<HRESULT>(0x80210010), L"the cover is open"},
    {static_cast<HRESULT>(0x80210011), L"the lamp is off"},
    {static_cast<HRESULT>(0x80210015), L"no such device is connected"},
    {static_cast<HRESULT>(0x80010108), L"the driver's process has ended: start this program again"},
    {static_cast<HRESULT>(0x800706BA), L"the WIA service has ended: start this program again"},
    {static_cast<HRESULT>(0x800706BE), L"the WIA service has ended: start this program again"},
};

std::wstring Hex(HRESULT result) {
  std::wstring text = L"0x";
  for (int shift = 28; shift >= 0; shift -= 4) {
    text += L"0123456789ABCDEF"[(static_cast<ULONG>(result) >> shift) & 0xF];
  }
  return text;
}

std::wstring SystemsWords(HRESULT result) {
  wchar_t text[512] = {};
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, static_cast<DWORD>(result), 0,
                     text, static_cast<DWORD>(std::size(text)), nullptr);
  std::wstring words(text, length);
  words.erase(words.find_last_not_of(L"\r\n .") + 1);
  return words.empty() ? L"a code that is not known here" : words;
}

std::wstring Padded(std::wstring text, std::size_t width) {
  text.resize(std::max(text.size(), width), L' ');
  return text;
}

std::wstring NameOf(const PROPSPEC& specification) {
  if (specification.ulKind != PRSPEC_PROPID) {
    return L"(a property by name)";
  }
  const PROPID id = specification.propid;
  const auto known =
      std::find_if(std::begin(kProperties), std::end(kProperties), [id](const auto& entry) { return entry.id == id; });
  return std::to_wstring(id) + (known == std::end(kProperties) ? L"" : std::wstring(L" ") + known->name);
}

std::wstring TextOf(const PROPVARIANT& value) {
  switch (value.vt) {
    case VT_I4:
    case VT_UI4:
      return std::to_wstring(value.lVal);
    case VT_BSTR:
      return L"\"" + std::wstring(value.bstrVal, SysStringLen(value.bstrVal)) + L"\"";
    case VT_CLSID: {
      wchar_t text[40] = {};
      StringFromGUID2(*value.puuid, text, 40);
      return *value.puuid == WiaImgFmt_JPEG ? L"JPEG" : text;
    }
    default:
      return L"a value of type " + std::to_wstring(value.vt);
  }
}

bool Same(const PROPVARIANT& a, const PROPVARIANT& b) { return a.vt != VT_EMPTY && TextOf(a) == TextOf(b); }

// What is wrong with a value, by the property's own attributes; nothing when they have no objection, or can't be had.
std::optional<std::wstring> Objection(IWiaPropertyStorage& item, PROPSPEC specification, const PROPVARIANT& asked) {
  ULONG access = 0;
  ScopedPropVariant valid;
  if (item.GetPropertyAttributes(1, &specification, &access, valid.put()) != S_OK) {
    return std::nullopt;
  }
  if ((access & WIA_PROP_WRITE) == 0) {
    return L"it is read-only";
  }
  const PROPVARIANT& values = valid.get();
  if ((values.vt != (VT_VECTOR | VT_I4) && values.vt != (VT_VECTOR | VT_UI4)) || asked.vt != VT_I4) {
    return std::nullopt;
  }
  const std::vector<LONG> elements(values.cal.pElems, values.cal.pElems + values.cal.cElems);
  if ((access & WIA_PROP_RANGE) != 0 && elements.size() > WIA_RANGE_STEP) {
    const LONG least = elements[WIA_RANGE_MIN];
    const LONG step = std::max<LONG>(elements[WIA_RANGE_STEP], 1);
    const bool fits = asked.lVal >= least && asked.lVal <= elements[WIA_RANGE_MAX] && (asked.lVal - least) % step == 0;
    return fits ? std::nullopt
                : std::optional(std::to_wstring(least) + L" to " + std::to_wstring(elements[WIA_RANGE_MAX]) +
                                L" in steps of " + std::to_wstring(step) + L" are valid");
  }
  if ((access & WIA_PROP_FLAG) != 0 && elements.size() > WIA_FLAG_VALUES) {
    return (asked.lVal & ~elements[WIA_FLAG_VALUES]) == 0
               ? std::nullopt
               : std::optional(L"of the flags only " + Hex(elements[WIA_FLAG_VALUES]) + L" are valid");
  }
  if ((access & WIA_PROP_LIST) == 0 || elements.size() <= WIA_LIST_VALUES ||
      std::find(elements.begin() + WIA_LIST_VALUES, elements.end(), asked.lVal) != elements.end()) {
    return std::nullopt;
  }
  std::wstring list;
  for (std::size_t i = WIA_LIST_VALUES; i < elements.size(); ++i) {
    list += (list.empty() ? L"" : L", ") + std::to_wstring(elements[i]);
  }
  return list + L" are valid";
}

std::wstring Outcome(IWiaPropertyStorage& item, const PROPSPEC& specification, const PROPVARIANT& asked,
                     const PROPVARIANT& held, HRESULT written) {
  if (held.vt == VT_EMPTY) {
    return L"not known to the driver";
  }
  if (SUCCEEDED(written)) {
    return Same(asked, held) ? L"taken" : L"the driver made it " + TextOf(held);
  }
  if (const auto objection = Objection(item, specification, asked)) {
    return L"refused: " + *objection + L"; it stays " + TextOf(held);
  }
  return Same(asked, held) ? L"is so already" : L"refused with the batch; it stays " + TextOf(held);
}

}  // namespace

std::vector<std::wstring> DescribeBatch(IWiaPropertyStorage& item, ULONG count, const PROPSPEC specifications[],
                                        const PROPVARIANT values[], HRESULT written) {
  std::vector<std::wstring> lines;
  for (ULONG i = 0; i < count; ++i) {
    // One at a time: some drivers answer nothing at all when one of several is not theirs.
    ScopedPropVariant held;
    const HRESULT read = item.ReadMultiple(1, &specifications[i], held.put());
    const std::wstring outcome = FAILED(read) ? L"can't be read back: " + DescribeResult(read)
                                              : Outcome(item, specifications[i], values[i], held.get(), written);
    lines.push_back(L"  " + Padded(NameOf(specifications[i]), 38) + Padded(TextOf(values[i]), 6) + outcome);
  }
  return lines;
}

std::wstring DescribeResult(HRESULT result) {
  const auto known = std::find_if(std::begin(kResults), std::end(kResults),
                                  [result](const auto& entry) { return entry.result == result; });
  return Hex(result) + L", " + (known == std::end(kResults) ? SystemsWords(result) : known->words);
}

std::wstring ReadText(IWiaPropertyStorage& item, PROPID id) {
  const PROPSPEC specification = {PRSPEC_PROPID, {id}};
  ScopedPropVariant value;
  return item.ReadMultiple(1, &specification, value.put()) == S_OK && value.get().vt == VT_BSTR
             ? std::wstring(value.get().bstrVal, SysStringLen(value.get().bstrVal))
             : std::wstring();
}

}  // namespace simulator
