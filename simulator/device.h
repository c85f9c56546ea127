// What all COM objects of one simulated scanner share: configuration, property values, the log, the faults. Internal to
// the simulator.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <new>

#include "simulator/page_renderer.h"
#include "simulator/property_table.h"
#include "simulator/simulated_scanner.h"

namespace simulator {

// WIA_CATEGORY_ROOT, which mingw-w64's headers lack and the dialog has no use for.
inline constexpr GUID kCategoryRoot = {0xF193526F, 0x59B8, 0x4A26, {0x98, 0x88, 0xE1, 0x6E, 0x4F, 0x97, 0xCE, 0x10}};

enum class ItemKind { root, flatbed, feeder };

class CountedObject;

class Device {
 public:
  Device(ScannerConfiguration configuration, FaultPlan faults);

  const ScannerConfiguration& Configuration() const { return m_configuration; }
  PropertyTable& Properties(ItemKind kind) { return m_properties[static_cast<std::size_t>(kind)]; }
  bool Has(ItemKind kind) const;

  // Logs a call and answers what the plan has for it.
  std::optional<CallFault> Enter(const char* method);

  FaultPlan Faults() const;
  void SetFaults(FaultPlan faults);

  void Record(WrittenBatch batch);
  void Record(TransferRecord transfer);
  std::vector<std::string> Calls() const;
  std::vector<WrittenBatch> Batches() const;
  std::vector<TransferRecord> Transfers() const;
  void ClearLog();

  void Add(const CountedObject& object);
  void Remove(const CountedObject& object);
  std::vector<LiveObject> LiveObjects() const;

  // The encoded page at these settings. The last few are kept: a stack of sheets is rendered once, and so are the
  // repeated previews of a test.
  EncodedPage Page(const PageSettings& settings);

  // One transfer at a time. False when one is running.
  bool BeginTransfer();
  void EndTransfer() { m_transferring = false; }
  void Cancel() { m_cancelled = true; }
  bool Cancelled() const { return m_cancelled; }

  void Keep(Microsoft::WRL::ComPtr<IStream> stream);
  void Keep(Microsoft::WRL::ComPtr<IWiaTransferCallback> callback);
  std::vector<Microsoft::WRL::ComPtr<IStream>> KeptStreams() const;
  Microsoft::WRL::ComPtr<IWiaTransferCallback> KeptCallback() const;
  void ReleaseKept();

 private:
  const ScannerConfiguration m_configuration;
  PropertyTable m_properties[3];
  std::atomic<bool> m_transferring = false;
  std::atomic<bool> m_cancelled = false;

  mutable std::mutex m_mutex;  // guards all that follows
  FaultPlan m_faults;
  std::vector<std::string> m_calls;
  std::vector<WrittenBatch> m_batches;
  std::vector<TransferRecord> m_transfers;
  std::vector<const CountedObject*> m_objects;
  std::vector<std::pair<PageSettings, EncodedPage>> m_pages;
  std::vector<Microsoft::WRL::ComPtr<IStream>> m_keptStreams;
  Microsoft::WRL::ComPtr<IWiaTransferCallback> m_keptCallback;
};

// The reference count of a COM object, and its place among the device's live objects. Starts at 1.
class CountedObject {
 public:
  CountedObject(std::shared_ptr<Device> device, const char* kind);
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  ULONG AddReference() noexcept { return ++m_references; }
  ULONG DropReference() noexcept;

  const char* Kind() const { return m_kind; }
  ULONG References() const { return m_references; }

 protected:
  virtual ~CountedObject();
  const std::shared_ptr<Device>& SharedDevice() const { return m_device; }

 private:
  std::shared_ptr<Device> m_device;
  const char* m_kind;
  std::atomic<ULONG> m_references = 1;
};

// The frame of every numbered COM method: logs the call, answers for the plan, and lets no exception out. `body` gets
// the fault of a kind that changes data, or nothing.
template <class Body>
HRESULT Answer(Device& device, const char* method, Body body) noexcept {
  try {
    const std::optional<CallFault> fault = device.Enter(method);
    if (fault && fault->kind == CallFault::Kind::result) {
      return fault->result;
    }
    const HRESULT result = body(fault);
    return fault && fault->kind == CallFault::Kind::lateResult ? fault->result : result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

inline HRESULT NotImplemented(Device& device, const char* method) noexcept {
  return Answer(device, method, [](const auto&) { return E_NOTIMPL; });
}

}  // namespace simulator
