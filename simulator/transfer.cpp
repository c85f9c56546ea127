#include "simulator/transfer.h"

#include <algorithm>
#include <thread>

#include "platform/scoped.h"
#include "simulator/wia_items.h"

namespace simulator {

namespace {

using platform::ComPtr;
using Stage = TransferPoint::Stage;

constexpr HRESULT kGeneralError = static_cast<HRESULT>(0x80210001);
constexpr std::size_t kHeaderSize = 20;  // of a JPEG file, with the resolution; written again when a page is complete

// Those of the same progress stay in their order. Not by std::stable_sort: GCC 12's library makes that of a function
// that it has marked as deprecated, and clang says so.
template <typename T>
void SortByProgress(std::vector<T>& events) {
  const auto earlier = [](const T& left, const T& right) { return left.percent < right.percent; };
  for (auto event = events.begin(); event != events.end(); ++event) {
    std::rotate(std::upper_bound(events.begin(), event, *event, earlier), event, event + 1);
  }
}

// One Download from its first message to its last.
class Run {
 public:
  Run(Device& device, ItemKind kind, FaultPlan plan, IWiaTransferCallback* callback)
      : m_device(device), m_kind(kind), m_plan(std::move(plan)), m_callback(callback) {
    m_record.item = WideItemName(kind);
    SortByProgress(m_plan.statuses);
    SortByProgress(m_plan.pauses);
  }

  HRESULT Execute() noexcept {
    try {
      m_record.result = SendAll();
      m_device.Record(m_record);
    } catch (const std::bad_alloc&) {
      m_record.result = E_OUTOFMEMORY;
    } catch (...) {
      m_record.result = E_UNEXPECTED;
    }
    return m_record.result;
  }

 private:
  LONG Setting(PROPID id) const { return m_device.Properties(m_kind).Number(id); }

  void Hook(Stage stage, LONG percent = 0) {
    if (m_plan.hook) {
      m_plan.hook({stage, m_page, percent});
    }
  }

  EncodedPage Page() const {
    if (m_plan.streamContent) {
      return std::make_shared<const std::vector<BYTE>>(*m_plan.streamContent);
    }
    const auto size = PageSizeOfCode(Setting(WIA_IPS_PAGE_SIZE));
    if (!size) {
      return nullptr;
    }
    PageSettings settings;
    settings.widthMm = size->widthMm;
    settings.heightMm = size->heightMm;
    settings.dpiX = Setting(WIA_IPS_XRES);
    settings.dpiY = Setting(WIA_IPS_YRES);
    settings.rotation = Setting(WIA_IPS_ROTATION);
    settings.brightness = Setting(kAutoBrightness) == 1 ? 0 : Setting(WIA_IPS_BRIGHTNESS);
    settings.grayscale = Setting(WIA_IPA_DATATYPE) == WIA_DATA_GRAYSCALE;
    settings.pageFile = m_device.Configuration().pageFile;
    return m_device.Page(settings);
  }

  int PagesDue() const {
    if (m_plan.streamCount) {
      return *m_plan.streamCount;
    }
    if (m_kind != ItemKind::feeder) {
      return 1;
    }
    const LONG wanted = Setting(WIA_IPS_PAGES);
    const int sheets = m_device.Configuration().feederPages;
    return wanted == ALL_PAGES ? sheets : std::min<int>(wanted, sheets);
  }

  // A client that asked for a number of pages that was there does not learn that the feeder is empty now.
  bool RunsEmpty() const {
    const LONG wanted = Setting(WIA_IPS_PAGES);
    return m_kind == ItemKind::feeder && m_device.Configuration().feederEndsEmpty &&
           (wanted == ALL_PAGES || wanted > m_device.Configuration().feederPages);
  }

  HRESULT SendAll() {
    Hook(Stage::start);
    const int pages = PagesDue();
    if (pages <= 0 && !m_plan.streamCount) {
      return kPaperEmpty;
    }
    const EncodedPage page = Page();
    if (page == nullptr) {
      return kGeneralError;
    }
    if (const HRESULT result = Send(WIA_TRANSFER_MSG_STATUS, 0); result != S_OK) {
      return result;
    }
    for (m_page = 0; m_page < pages; ++m_page) {
      if (const HRESULT result = SendPage(*page); result != S_OK) {
        return result;
      }
    }
    if (m_plan.nullRecord) {
      m_callback->TransferCallback(0, nullptr);
    }
    if (const HRESULT result = Send(WIA_TRANSFER_MSG_END_OF_TRANSFER, 100); result != S_OK) {
      return result;
    }
    Hook(Stage::end, 100);
    if (m_plan.downloadResult) {
      return *m_plan.downloadResult;
    }
    return RunsEmpty() ? kPaperEmpty : S_OK;
  }

  HRESULT SendPage(const std::vector<BYTE>& bytes) {
    if (m_page > 0) {
      if (const HRESULT result = Send(WIA_TRANSFER_MSG_NEW_PAGE, 0); result != S_OK) {
        return result;
      }
    }
    ComPtr<IStream> stream;
    HRESULT result = NextStream(stream);
    if (FAILED(result)) {
      return result;
    }
    ++m_record.streams;
    Hook(Stage::streamOpened);
    result = WriteBytes(*stream.Get(), bytes);
    if (m_plan.keepStreams) {
      m_device.Keep(stream);
    }
    stream.Reset();
    if (result != S_OK) {
      return result;
    }
    Hook(Stage::pageDone, 100);
    return Send(WIA_TRANSFER_MSG_END_OF_STREAM, 100);
  }

  // The names are the item's on every page: drivers repeat them.
  HRESULT NextStream(ComPtr<IStream>& stream) {
    const std::wstring item = WideItemName(m_kind);
    const platform::BasicString name(m_plan.nullNames ? nullptr : SysAllocString(item.c_str()));
    const platform::BasicString fullName(m_plan.nullNames ? nullptr : SysAllocString((L"0000\\Root\\" + item).c_str()));
    const HRESULT result = m_callback->GetNextStream(0, name.get(), fullName.get(), &stream);
    return SUCCEEDED(result) && stream == nullptr ? E_POINTER : result;
  }

  // As drivers write: from the start, in chunks, the header again at the end when its values are certain. Position
  // results are asked for only now and then.
  HRESULT WriteBytes(IStream& stream, const std::vector<BYTE>& bytes) {
    const std::size_t end = std::min(bytes.size(), m_plan.cutAfterBytes.value_or(bytes.size()));
    HRESULT result = stream.Seek({}, STREAM_SEEK_SET, nullptr);
    if (FAILED(result) || (result = Progress(0)) != S_OK) {
      return result;
    }
    for (std::size_t offset = 0; offset < end;) {
      const std::size_t size = std::min(std::max<std::size_t>(m_device.Configuration().chunkSize, 1), end - offset);
      if (FAILED(result = Write(stream, bytes.data() + offset, size))) {
        return result;
      }
      offset += size;
      const LONG percent = static_cast<LONG>(offset * 100 / bytes.size());
      Hook(Stage::chunkWritten, percent);
      if ((result = Progress(percent)) != S_OK) {
        return result;
      }
      if (FAILED(result = stream.Seek({}, STREAM_SEEK_END, nullptr))) {
        return result;
      }
    }
    if (end < bytes.size()) {
      return m_plan.cutResult;
    }
    return bytes.empty() ? Progress(100) : Complete(stream, bytes);
  }

  HRESULT Complete(IStream& stream, const std::vector<BYTE>& bytes) {
    ULARGE_INTEGER size = {};
    HRESULT result = stream.Seek({}, STREAM_SEEK_SET, nullptr);
    if (FAILED(result) || FAILED(result = Write(stream, bytes.data(), std::min(kHeaderSize, bytes.size()))) ||
        FAILED(result = stream.Seek({}, STREAM_SEEK_END, &size))) {
      return result;
    }
    return size.QuadPart == bytes.size() ? stream.SetSize(size) : E_UNEXPECTED;
  }

  HRESULT Write(IStream& stream, const BYTE* bytes, std::size_t size) {
    ULONG written = 0;
    const HRESULT result = stream.Write(bytes, static_cast<ULONG>(size), &written);
    if (FAILED(result)) {
      return result;
    }
    m_record.bytes += written;
    return written == size ? S_OK : STG_E_MEDIUMFULL;
  }

  // Reports how far the page is, and lets happen what the plan has for this point.
  HRESULT Progress(LONG percent) {
    if (m_device.Cancelled()) {
      return S_FALSE;
    }
    for (; m_pauses < m_plan.pauses.size() && m_plan.pauses[m_pauses].percent <= percent; ++m_pauses) {
      Sleep(m_plan.pauses[m_pauses].milliseconds);
    }
    while (m_statuses < m_plan.statuses.size() && m_plan.statuses[m_statuses].percent <= percent) {
      const StatusFault& fault = m_plan.statuses[m_statuses++];
      const HRESULT result = Send(WIA_TRANSFER_MSG_STATUS, percent, fault.status);
      if (fault.endsTransfer || result != S_OK) {
        return result != S_OK ? result : fault.status;
      }
    }
    return Send(WIA_TRANSFER_MSG_STATUS, percent);
  }

  HRESULT Send(LONG message, LONG percent, HRESULT status = S_OK) {
    if (message != WIA_TRANSFER_MSG_STATUS) {
      m_record.messages.push_back(message);
    }
    WiaTransferParams parameters = {message, percent, m_record.bytes, status};
    return m_callback->TransferCallback(0, &parameters);
  }

  Device& m_device;
  const ItemKind m_kind;
  FaultPlan m_plan;
  const ComPtr<IWiaTransferCallback> m_callback;
  TransferRecord m_record;
  int m_page = 0;
  std::size_t m_pauses = 0;  // how many of the plan's have happened
  std::size_t m_statuses = 0;
};

// A client that shows a message box from another thread needs its window's thread to answer messages meanwhile, and
// that is the thread that waits here. COM's own wait in a single-threaded apartment does the same.
HRESULT ExecuteOnAnotherThread(Run& run) {
  const platform::Unique<HANDLE, &CloseHandle> finished(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (finished == nullptr) {
    return E_OUTOFMEMORY;
  }
  HRESULT result = E_UNEXPECTED;
  std::thread worker([&] {
    const HRESULT apartment = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    result = run.Execute();
    if (SUCCEEDED(apartment)) {
      CoUninitialize();
    }
    SetEvent(finished.get());
  });
  const HANDLE done = finished.get();
  while (MsgWaitForMultipleObjects(1, &done, FALSE, INFINITE, QS_ALLINPUT) == WAIT_OBJECT_0 + 1) {
    MSG message = {};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  worker.join();
  return result;
}

}  // namespace

HRESULT Transfer::Download(LONG, IWiaTransferCallback* callback) {
  // The client may let go of the item inside a callback.
  const ComPtr<IUnknown> self(&m_owner);
  return Answer(m_device, "IWiaTransfer::Download", [&](const auto&) -> HRESULT {
    if (callback == nullptr) {
      return E_INVALIDARG;
    }
    if (!m_device.BeginTransfer()) {
      return kBusy;
    }
    const FaultPlan plan = m_device.Faults();
    if (plan.keepCallback) {
      m_device.Keep(ComPtr<IWiaTransferCallback>(callback));
    }
    Run run(m_device, m_kind, plan, callback);
    const HRESULT result = plan.callbacksOnAnotherThread ? ExecuteOnAnotherThread(run) : run.Execute();
    m_device.EndTransfer();
    return result;
  });
}

HRESULT Transfer::Cancel() {
  return Answer(m_device, "IWiaTransfer::Cancel", [&](const auto&) -> HRESULT {
    m_device.Cancel();
    return S_OK;
  });
}

}  // namespace simulator
