#include "simulator/device_manager.h"

#include "platform/scoped.h"
#include "simulator/com_object.h"
#include "simulator/wia_device_manager.h"

namespace simulator {
namespace {

using platform::ComPtr;

// What the platform tells of a device without opening it: here the root item's own properties.
ComPtr<IWiaPropertyStorage> Information(const ManagedDevice& device) {
  return platform::Query<IWiaPropertyStorage>(device.scanner->Root().Get(), IID_IWiaPropertyStorage);
}

std::wstring Identifier(const ManagedDevice& device) {
  const PROPSPEC id = {PRSPEC_PROPID, {WIA_DIP_DEV_ID}};
  platform::ScopedPropVariant value;
  Information(device)->ReadMultiple(1, &id, value.put());
  return value.get().vt == VT_BSTR ? std::wstring(value.get().bstrVal, SysStringLen(value.get().bstrVal)) : L"";
}

class DeviceEnumerator final : public ComObject<IEnumWIA_DEV_INFO> {
 public:
  explicit DeviceEnumerator(const std::vector<ManagedDevice>& devices)
      : ComObject(kDeviceEnumeratorInterface), m_devices(devices) {}

  HRESULT STDMETHODCALLTYPE Next(ULONG count, IWiaPropertyStorage** devices, ULONG* fetched) override {
    ULONG delivered = 0;
    while (delivered < count && m_position < m_devices.size()) {
      devices[delivered++] = Information(m_devices[m_position++]).Detach();
    }
    if (fetched != nullptr) {
      *fetched = delivered;
    }
    return delivered == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IEnumWIA_DEV_INFO**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetCount(ULONG*) override { return E_NOTIMPL; }

 private:
  const std::vector<ManagedDevice> m_devices;
  std::size_t m_position = 0;
};

class DeviceManager final : public ComObject<IWiaDevMgr2> {
 public:
  explicit DeviceManager(const std::vector<ManagedDevice>& devices)
      : ComObject(kDeviceManagerInterface), m_devices(devices) {}

  HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG flags, IEnumWIA_DEV_INFO** devices) override {
    if (flags != WIA_DEVINFO_ENUM_LOCAL) {
      return E_INVALIDARG;
    }
    *devices = new DeviceEnumerator(m_devices);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateDevice(LONG flags, BSTR id, IWiaItem2** root) override {
    *root = nullptr;
    for (const ManagedDevice& device : m_devices) {
      if (flags == 0 && Identifier(device) == id) {
        *root = SUCCEEDED(device.opening) ? device.scanner->Root().Detach() : nullptr;
        return device.opening;
      }
    }
    return E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND, LONG, LONG, BSTR*, IWiaItem2**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND, LONG, LONG, BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG, BSTR, const GUID*, IWiaEventCallback*,
                                                           IUnknown**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG, BSTR, const GUID*, BSTR, BSTR, BSTR, BSTR,
                                                         BSTR) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG, BSTR, const GUID*, const GUID*, BSTR, BSTR,
                                                       BSTR) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetImageDlg(LONG, BSTR, HWND, BSTR, BSTR, LONG*, BSTR**, IWiaItem2**) override {
    return E_NOTIMPL;
  }

 private:
  const std::vector<ManagedDevice> m_devices;
};

class DeviceManagerFactory final : public ComObject<IClassFactory> {
 public:
  explicit DeviceManagerFactory(std::vector<ManagedDevice> devices)
      : ComObject(IID_IClassFactory), m_devices(std::move(devices)) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    return outer != nullptr ? CLASS_E_NOAGGREGATION
                            : Own<IWiaDevMgr2>(new DeviceManager(m_devices))->QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  const std::vector<ManagedDevice> m_devices;
};

}  // namespace

DeviceManagerRegistration::DeviceManagerRegistration(std::vector<ManagedDevice> devices) {
  const auto factory = Own<IClassFactory>(new DeviceManagerFactory(std::move(devices)));
  m_result =
      CoRegisterClassObject(kDeviceManagerClass, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie);
}

DeviceManagerRegistration::~DeviceManagerRegistration() {
  if (SUCCEEDED(m_result)) {
    CoRevokeClassObject(m_cookie);
  }
}

}  // namespace simulator
