// A scanner that exists only in memory: the other side of the WIA interfaces that the scan dialog talks to.
//
// It stands in for the WIA service and a driver, and promises what they do:
// - A root item with a flatbed and a feeder child, either of which may be absent. Every enumeration hands out new item
//   objects; what they stand for, their property values, belongs to the device and outlives them.
// - IWiaItem2, IWiaPropertyStorage and, on the children, IWiaTransfer are faces of one COM object. Methods that no
//   scanner user interface calls answer E_NOTIMPL.
// - WriteMultiple refuses property identifiers it does not know, read-only ones, other types than the property's and
//   values outside the valid ones with E_INVALIDARG. A batch is applied whole or not at all.
// - Download sends a JPEG of the page at the item's current settings: page size, resolution (also in the file),
//   rotation, data type (one component for grayscale) and brightness. XRES and YRES are written in pairs by every
//   client; a page with two different ones is rendered like that. The send size and the other private properties are
//   kept, not acted upon.
// - The flatbed delivers one page. The feeder delivers the pages that lie in it, or WIA_IPS_PAGES of them if that is
//   not 0, previews included, and is full again for the next Download. It answers success after the last page (or
//   "paper empty" if the configuration says so), and "paper empty" at once, without asking for a stream, when nothing
//   lies in it.
// - One Download at a time; a second one meanwhile is answered with "busy".
// - GetNextStream's and TransferCallback's failures end the Download with their HRESULT; S_FALSE from TransferCallback
//   and Cancel end it with S_FALSE. Streams are released before END_OF_STREAM is sent.
// - Everything may be called from any thread. The scanner may be destroyed while clients still hold its items.
//
// The built-in page: white, with a square of kCornerMm millimetres in each corner, millimetre rulers along the four
// edges between them, text from 5 to 36 points, a photograph-like gradient and line targets. A page file (a JPEG) is
// fitted into the page size instead, centred on white, its proportions kept.
#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/wia2.h"
#include "simulator/fault_plan.h"

namespace simulator {

class Device;

// The corners of the built-in page as it lies in the device, at brightness 0. Their luminances differ as well (about
// 86, 138, 60 and 205), so that they can be told apart in grayscale.
inline constexpr int kCornerMm = 12;
inline constexpr COLORREF kTopLeftColor = RGB(214, 32, 32);
inline constexpr COLORREF kTopRightColor = RGB(60, 190, 80);
inline constexpr COLORREF kBottomLeftColor = RGB(24, 56, 180);
inline constexpr COLORREF kBottomRightColor = RGB(250, 214, 40);

// The dialog's property identifiers in the range that WIA reserves for drivers.
inline constexpr PROPID kAutoFeed = 71693;
inline constexpr PROPID kOriginalQuality = 71694;
inline constexpr PROPID kAutoBrightness = 71695;
inline constexpr PROPID kSendSize = 71696;
inline constexpr PROPID kReverseImage = 71697;

// Every member has an initialiser, so that designated initialisers may name just the one that matters.
struct ScannerConfiguration {
  bool hasFlatbed = true;
  bool hasFeeder = true;  // also the FEED bit of the root's document handling capabilities

  // Valid values of WIA_IPS_XRES and YRES: a list, or the range from the smallest to the largest of them.
  std::vector<LONG> resolutions = {75, 100, 150, 200, 300, 400, 600};
  LONG nominalResolution = 200;  // need not be among them; the value that the items start with
  bool resolutionRange = false;

  std::wstring deviceId = L"{6BDD1FC6-810F-11D0-BEC7-08002BE2092F}\\0042";
  std::optional<std::wstring> deviceName = {};  // WIA_DIP_DEV_NAME

  int feederPages = 1;             // sheets in the feeder
  bool feederEndsEmpty = false;    // "paper empty" instead of success after the last page
  std::wstring pageFile = {};      // a JPEG on the glass and on every sheet; empty: the built-in page
  std::size_t chunkSize = 0x8000;  // bytes per Write

  // What a driver may lack, or do otherwise.
  std::vector<PROPID> unknownProperties = {};  // of its scan items
  bool leavesBadValues = false;                // WriteMultiple takes the rest of a batch and answers S_OK

  // Overrides for hostile devices.
  std::optional<std::vector<LONG>> rawResolutionValues = {};  // the whole vector of valid values of XRES, as it stands
  VARTYPE integerType = VT_I4;                                // of the integers that are answered
  bool nullDeviceId = false;                                  // the device identifier is a null BSTR
};

using PropertyValue = std::variant<std::monostate, LONG, std::wstring, GUID>;

struct WrittenProperty {
  PROPID id = 0;  // 0 when the client named the property by text
  VARTYPE type = VT_EMPTY;
  PropertyValue value;  // empty for a type that no WIA property of this device has
};

// One WriteMultiple as the driver received it, refused ones included.
struct WrittenBatch {
  std::wstring item;  // "Flatbed", "Feeder" or "Root"
  PROPID firstName = 0;
  HRESULT result = S_OK;
  std::vector<WrittenProperty> entries;
};

// What one Download did.
struct TransferRecord {
  std::wstring item;
  int streams = 0;  // GetNextStream calls that gave a stream
  ULONGLONG bytes = 0;
  HRESULT result = S_OK;
  std::vector<LONG> messages;  // without STATUS
};

struct LiveObject {
  std::string kind;  // "Root", "Flatbed", "Feeder" or "Enumerator"
  ULONG references = 0;
};

class SimulatedScanner {
 public:
  explicit SimulatedScanner(ScannerConfiguration configuration = {}, FaultPlan faults = {});
  ~SimulatedScanner();
  SimulatedScanner(const SimulatedScanner&) = delete;
  SimulatedScanner& operator=(const SimulatedScanner&) = delete;

  // A new object for the root item. Not a numbered call.
  Microsoft::WRL::ComPtr<IWiaItem2> Root() const;

  // Takes effect with the next call, for transfers with the next Download. Does not restart the numbering.
  void SetFaults(FaultPlan faults);

  // Every call that clients made, in order: call number k is element k - 1, for example "IWiaItem2::EnumChildItems" or
  // "IWiaTransfer::Download". All methods count, QueryInterface on items and enumerators too; AddRef and Release don't.
  std::vector<std::string> Calls() const;
  std::vector<WrittenBatch> Batches() const;
  std::vector<TransferRecord> Transfers() const;

  // Empties the three above; the next call is number 1 again. They grow with every call: a test that measures memory
  // clears them in each round.
  void ClearLog();

  // The current value of a child's property: category WIA_CATEGORY_FLATBED or WIA_CATEGORY_FEEDER.
  PropertyValue Property(const GUID& category, PROPID id) const;

  // COM objects of this device that somebody holds, with their reference counts.
  std::vector<LiveObject> LiveObjects() const;

  // What a driver that forgets to let go still holds, when the plan says so.
  std::vector<Microsoft::WRL::ComPtr<IStream>> KeptStreams() const;
  Microsoft::WRL::ComPtr<IWiaTransferCallback> KeptCallback() const;
  void ReleaseKept();

 private:
  std::shared_ptr<Device> m_device;
};

// Real dimensions of a page-size code in millimetres; nothing for a code that this device does not have.
struct PageSize {
  double widthMm = 0.0;
  double heightMm = 0.0;
};
std::optional<PageSize> PageSizeOfCode(LONG code);

}  // namespace simulator
