#include "demo/recorder.h"

#include <mutex>
#include <new>
#include <vector>

#include "demo/batch_report.h"
#include "simulator/com_object.h"

namespace simulator {
namespace {

using platform::ComPtr;

// Reporting lets no exception out, and changes nothing of what is reported.
template <class Body>
void Quietly(Body body) noexcept {
  try {
    body();
  } catch (...) {
    return;
  }
}

// One interface of an item: its references are the item's, whose inner object must have the interface too.
template <class Interface>
class Face : public Interface {
 public:
  Face(IUnknown& owner, std::shared_ptr<Recorder> recorder) : m_recorder(std::move(recorder)), m_owner(owner) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return m_owner.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return m_owner.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return m_owner.Release(); }

  // Answers QueryInterface for the item.
  HRESULT Give(IUnknown* inner, REFIID iid, void** object) {
    HRESULT result = S_OK;
    if (m_inner == nullptr) {
      m_inner = platform::Query<Interface>(inner, iid, &result);
    }
    if (SUCCEEDED(result)) {
      AddRef();
      *object = static_cast<Interface*>(this);
    }
    return result;
  }

 protected:
  ComPtr<Interface> m_inner;
  const std::shared_ptr<Recorder> m_recorder;

 private:
  IUnknown& m_owner;
};

class Storage final : public Face<IWiaPropertyStorage> {
 public:
  using Face::Face;

  HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC specifications[], const PROPVARIANT values[],
                                          PROPID firstName) override {
    const HRESULT written = m_inner->WriteMultiple(count, specifications, values, firstName);
    Quietly([&] { Report(count, specifications, values, written); });
    return written;
  }

  HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC specifications[], PROPVARIANT values[]) override {
    return m_inner->ReadMultiple(count, specifications, values);
  }
  HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG count, const PROPSPEC specifications[]) override {
    return m_inner->DeleteMultiple(count, specifications);
  }
  HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG count, const PROPID ids[], LPOLESTR names[]) override {
    return m_inner->ReadPropertyNames(count, ids, names);
  }
  HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG count, const PROPID ids[], const LPOLESTR names[]) override {
    return m_inner->WritePropertyNames(count, ids, names);
  }
  HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG count, const PROPID ids[]) override {
    return m_inner->DeletePropertyNames(count, ids);
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override { return m_inner->Commit(flags); }
  HRESULT STDMETHODCALLTYPE Revert() override { return m_inner->Revert(); }
  HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** properties) override { return m_inner->Enum(properties); }
  HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME* created, const FILETIME* read, const FILETIME* changed) override {
    return m_inner->SetTimes(created, read, changed);
  }
  HRESULT STDMETHODCALLTYPE SetClass(REFCLSID type) override { return m_inner->SetClass(type); }
  HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG* status) override { return m_inner->Stat(status); }
  HRESULT STDMETHODCALLTYPE GetPropertyAttributes(ULONG count, PROPSPEC specifications[], ULONG flags[],
                                                  PROPVARIANT values[]) override {
    return m_inner->GetPropertyAttributes(count, specifications, flags, values);
  }
  HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) override { return m_inner->GetCount(count); }
  HRESULT STDMETHODCALLTYPE GetPropertyStream(GUID* id, IStream** stream) override {
    return m_inner->GetPropertyStream(id, stream);
  }
  HRESULT STDMETHODCALLTYPE SetPropertyStream(GUID* id, IStream* stream) override {
    return m_inner->SetPropertyStream(id, stream);
  }

 private:
  void Report(ULONG count, const PROPSPEC specifications[], const PROPVARIANT values[], HRESULT written) {
    bool preview = false;
    for (ULONG i = 0; i < count; ++i) {
      preview = preview || (specifications[i].propid == WIA_IPS_PREVIEW && values[i].lVal == WIA_PREVIEW_SCAN);
    }
    m_recorder->Line((preview ? L"Preview from " : L"Scan from ") + ReadText(*m_inner.Get(), WIA_IPA_FULL_ITEM_NAME) +
                     L": what the dialog asked for, and what the driver took");
    for (const std::wstring& line : DescribeBatch(*m_inner.Get(), count, specifications, values, written)) {
      m_recorder->Line(line);
    }
    if (FAILED(written)) {
      m_recorder->Line(L"The driver refused: " + DescribeResult(written) + L". It scans with what it had");
    }
  }
};

// The transfer's other end: what the device says, and how large its pages get.
class Callback final : public ComObject<IWiaTransferCallback> {
 public:
  Callback(IWiaTransferCallback* inner, std::shared_ptr<Recorder> recorder)
      : ComObject(IID_IWiaTransferCallback), m_inner(inner), m_recorder(std::move(recorder)) {}

  HRESULT STDMETHODCALLTYPE TransferCallback(LONG flags, WiaTransferParams* parameters) override {
    if (parameters != nullptr && FAILED(parameters->hrErrorStatus)) {
      const HRESULT status = parameters->hrErrorStatus;
      Quietly([&] { m_recorder->Line(L"The device reports " + DescribeResult(status)); });
    }
    return m_inner->TransferCallback(flags, parameters);
  }
  HRESULT STDMETHODCALLTYPE GetNextStream(LONG flags, BSTR name, BSTR fullName, IStream** stream) override {
    EndPage();
    const HRESULT result = m_inner->GetNextStream(flags, name, fullName, stream);
    if (SUCCEEDED(result) && stream != nullptr) {
      const std::lock_guard lock(m_lock);
      m_page = *stream;
    }
    return result;
  }

  // Reports the page that the device wrote last.
  void EndPage() {
    ComPtr<IStream> page;
    {
      const std::lock_guard lock(m_lock);
      page.Swap(m_page);
      m_pages += page != nullptr ? 1 : 0;
    }
    STATSTG status = {};
    if (page != nullptr && SUCCEEDED(page->Stat(&status, STATFLAG_DEFAULT))) {
      const platform::TaskMemory path(status.pwcsName);
      Quietly([&] {
        m_recorder->Line(L"Page " + std::to_wstring(m_pages) + L": " + std::to_wstring(status.cbSize.QuadPart) +
                         L" bytes" + (status.pwcsName != nullptr ? L" in " + std::wstring(status.pwcsName) : L""));
      });
    }
  }

 private:
  const ComPtr<IWiaTransferCallback> m_inner;
  const std::shared_ptr<Recorder> m_recorder;
  platform::Lock m_lock;
  ComPtr<IStream> m_page;
  int m_pages = 0;
};

class Transfer final : public Face<IWiaTransfer> {
 public:
  using Face::Face;

  HRESULT STDMETHODCALLTYPE Download(LONG flags, IWiaTransferCallback* receiver) override {
    const auto callback = Own(new (std::nothrow) Callback(receiver, m_recorder));
    if (callback == nullptr) {
      return E_OUTOFMEMORY;
    }
    const HRESULT result = m_inner->Download(flags, callback.Get());
    callback->EndPage();
    Quietly([&] {
      m_recorder->NoteTransfer(result);
      m_recorder->Line(L"Transfer: " + DescribeResult(result));
    });
    return result;
  }
  HRESULT STDMETHODCALLTYPE Upload(LONG flags, IStream* source, IWiaTransferCallback* callback) override {
    return m_inner->Upload(flags, source, callback);
  }
  HRESULT STDMETHODCALLTYPE Cancel() override { return m_inner->Cancel(); }
  HRESULT STDMETHODCALLTYPE EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** formats) override {
    return m_inner->EnumWIA_FORMAT_INFO(formats);
  }
};

// Puts what a method gave behind the window.
HRESULT Recorded(HRESULT result, IWiaItem2** item, const std::shared_ptr<Recorder>& recorder) {
  if (FAILED(result) || item == nullptr || *item == nullptr) {
    return result;
  }
  const auto inner = Own(*item);
  *item = RecordItem(inner, recorder).Detach();
  return *item != nullptr ? result : E_OUTOFMEMORY;
}

class Items final : public ComObject<IEnumWiaItem2> {
 public:
  Items(ComPtr<IEnumWiaItem2> inner, std::shared_ptr<Recorder> recorder)
      : ComObject(IID_IEnumWiaItem2), m_inner(std::move(inner)), m_recorder(std::move(recorder)) {}

  HRESULT STDMETHODCALLTYPE Next(ULONG count, IWiaItem2** items, ULONG* fetched) override {
    ULONG delivered = 0;
    HRESULT result = m_inner->Next(count, items, &delivered);
    for (ULONG i = 0; i < delivered; ++i) {
      const HRESULT recorded = Recorded(result, &items[i], m_recorder);
      result = FAILED(recorded) ? recorded : result;
    }
    if (fetched != nullptr) {
      *fetched = delivered;
    }
    return result;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override { return m_inner->Skip(count); }
  HRESULT STDMETHODCALLTYPE Reset() override { return m_inner->Reset(); }
  HRESULT STDMETHODCALLTYPE Clone(IEnumWiaItem2** items) override;
  HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) override { return m_inner->GetCount(count); }

 private:
  const ComPtr<IEnumWiaItem2> m_inner;
  const std::shared_ptr<Recorder> m_recorder;
};

HRESULT Recorded(HRESULT result, IEnumWiaItem2** items, const std::shared_ptr<Recorder>& recorder) {
  if (FAILED(result) || items == nullptr || *items == nullptr) {
    return result;
  }
  *items = new (std::nothrow) Items(Own(*items), recorder);
  return *items != nullptr ? result : E_OUTOFMEMORY;
}

HRESULT Items::Clone(IEnumWiaItem2** items) { return Recorded(m_inner->Clone(items), items, m_recorder); }

class Item final : public ComObject<IWiaItem2> {
 public:
  Item(ComPtr<IWiaItem2> inner, std::shared_ptr<Recorder> recorder)
      : ComObject(IID_IWiaItem2),
        m_inner(std::move(inner)),
        m_recorder(std::move(recorder)),
        m_storage(*this, m_recorder),
        m_transfer(*this, m_recorder) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    *object = nullptr;
    if (iid == IID_IWiaPropertyStorage) {
      return m_storage.Give(m_inner.Get(), iid, object);
    }
    return iid == IID_IWiaTransfer ? m_transfer.Give(m_inner.Get(), iid, object)
                                   : ComObject::QueryInterface(iid, object);
  }

  HRESULT STDMETHODCALLTYPE CreateChildItem(LONG flags, LONG creation, BSTR name, IWiaItem2** item) override {
    return Recorded(m_inner->CreateChildItem(flags, creation, name, item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE DeleteItem(LONG flags) override { return m_inner->DeleteItem(flags); }
  HRESULT STDMETHODCALLTYPE EnumChildItems(const GUID* category, IEnumWiaItem2** items) override {
    return Recorded(m_inner->EnumChildItems(category, items), items, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE FindItemByName(LONG flags, BSTR name, IWiaItem2** item) override {
    return Recorded(m_inner->FindItemByName(flags, name, item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE GetItemCategory(GUID* category) override { return m_inner->GetItemCategory(category); }
  HRESULT STDMETHODCALLTYPE GetItemType(LONG* type) override { return m_inner->GetItemType(type); }
  HRESULT STDMETHODCALLTYPE DeviceDlg(LONG flags, HWND parent, BSTR folder, BSTR file, LONG* count, BSTR** paths,
                                      IWiaItem2** item) override {
    return Recorded(m_inner->DeviceDlg(flags, parent, folder, file, count, paths, item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE DeviceCommand(LONG flags, const GUID* command, IWiaItem2** item) override {
    return Recorded(m_inner->DeviceCommand(flags, command, item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG flags, IEnumWIA_DEV_CAPS** capabilities) override {
    return m_inner->EnumDeviceCapabilities(flags, capabilities);
  }
  HRESULT STDMETHODCALLTYPE CheckExtension(LONG flags, BSTR name, REFIID iid, BOOL* exists) override {
    return m_inner->CheckExtension(flags, name, iid, exists);
  }
  HRESULT STDMETHODCALLTYPE GetExtension(LONG flags, BSTR name, REFIID iid, void** extension) override {
    return m_inner->GetExtension(flags, name, iid, extension);
  }
  HRESULT STDMETHODCALLTYPE GetParentItem(IWiaItem2** item) override {
    return Recorded(m_inner->GetParentItem(item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem2** item) override {
    return Recorded(m_inner->GetRootItem(item), item, m_recorder);
  }
  HRESULT STDMETHODCALLTYPE GetPreviewComponent(LONG flags, IWiaPreview** preview) override {
    return m_inner->GetPreviewComponent(flags, preview);
  }
  HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG flags, const GUID* event, IEnumWIA_DEV_CAPS** events) override {
    return m_inner->EnumRegisterEventInfo(flags, event, events);
  }
  HRESULT STDMETHODCALLTYPE Diagnostic(ULONG size, BYTE* buffer) override { return m_inner->Diagnostic(size, buffer); }

 private:
  const ComPtr<IWiaItem2> m_inner;
  const std::shared_ptr<Recorder> m_recorder;
  Storage m_storage;
  Transfer m_transfer;
};

}  // namespace

ComPtr<IWiaItem2> RecordItem(const ComPtr<IWiaItem2>& item, const std::shared_ptr<Recorder>& recorder) {
  return Own<IWiaItem2>(new (std::nothrow) Item(item, recorder));
}

}  // namespace simulator
