#include "simulator/device.h"

#include <algorithm>

#include "simulator/wia_items.h"

namespace simulator {

namespace {

constexpr std::size_t kPagesKept = 4;

}  // namespace

Device::Device(ScannerConfiguration configuration, FaultPlan faults)
    : m_configuration(std::move(configuration)), m_faults(std::move(faults)) {
  for (const ItemKind kind : {ItemKind::root, ItemKind::flatbed, ItemKind::feeder}) {
    Properties(kind).DefineDevice(m_configuration, WideItemName(kind));
  }
  Properties(ItemKind::root).DefineRoot(m_configuration);
  Properties(ItemKind::flatbed).DefineScanItem(m_configuration);
  Properties(ItemKind::feeder).DefineScanItem(m_configuration);
}

bool Device::Has(ItemKind kind) const {
  if (kind == ItemKind::root) {
    return true;
  }
  return kind == ItemKind::flatbed ? m_configuration.hasFlatbed : m_configuration.hasFeeder;
}

std::optional<CallFault> Device::Enter(const char* method) {
  const std::lock_guard lock(m_mutex);
  m_calls.emplace_back(method);
  const std::size_t number = m_calls.size();
  for (const CallFault& fault : m_faults.calls) {
    if (fault.call == number || (fault.fromThenOn && fault.call < number)) {
      return fault;
    }
  }
  return std::nullopt;
}

FaultPlan Device::Faults() const {
  const std::lock_guard lock(m_mutex);
  return m_faults;
}

void Device::SetFaults(FaultPlan faults) {
  const std::lock_guard lock(m_mutex);
  std::swap(m_faults, faults);
}

void Device::Record(WrittenBatch batch) {
  const std::lock_guard lock(m_mutex);
  m_batches.push_back(std::move(batch));
}

void Device::Record(TransferRecord transfer) {
  const std::lock_guard lock(m_mutex);
  m_transfers.push_back(std::move(transfer));
}

std::vector<std::string> Device::Calls() const {
  const std::lock_guard lock(m_mutex);
  return m_calls;
}

std::vector<WrittenBatch> Device::Batches() const {
  const std::lock_guard lock(m_mutex);
  return m_batches;
}

std::vector<TransferRecord> Device::Transfers() const {
  const std::lock_guard lock(m_mutex);
  return m_transfers;
}

void Device::ClearLog() {
  const std::lock_guard lock(m_mutex);
  m_calls.clear();
  m_batches.clear();
  m_transfers.clear();
}

void Device::Add(const CountedObject& object) {
  const std::lock_guard lock(m_mutex);
  m_objects.push_back(&object);
}

void Device::Remove(const CountedObject& object) {
  const std::lock_guard lock(m_mutex);
  m_objects.erase(std::find(m_objects.begin(), m_objects.end(), &object));
}

std::vector<LiveObject> Device::LiveObjects() const {
  const std::lock_guard lock(m_mutex);
  std::vector<LiveObject> objects;
  objects.reserve(m_objects.size());
  for (const CountedObject* object : m_objects) {
    objects.push_back({object->Kind(), object->References()});
  }
  return objects;
}

EncodedPage Device::Page(const PageSettings& settings) {
  {
    const std::lock_guard lock(m_mutex);
    for (const auto& [known, page] : m_pages) {
      if (known == settings) {
        return page;
      }
    }
  }
  // Not under the lock: rendering takes long, and a client may ask for the log meanwhile.
  EncodedPage page = RenderPage(settings);
  if (page == nullptr) {
    return nullptr;
  }
  const std::lock_guard lock(m_mutex);
  if (m_pages.size() == kPagesKept) {
    m_pages.erase(m_pages.begin());
  }
  m_pages.emplace_back(settings, page);
  return page;
}

bool Device::BeginTransfer() {
  if (m_transferring.exchange(true)) {
    return false;
  }
  m_cancelled = false;
  return true;
}

void Device::Keep(Microsoft::WRL::ComPtr<IStream> stream) {
  const std::lock_guard lock(m_mutex);
  m_keptStreams.push_back(std::move(stream));
}

void Device::Keep(Microsoft::WRL::ComPtr<IWiaTransferCallback> callback) {
  const std::lock_guard lock(m_mutex);
  std::swap(m_keptCallback, callback);
}

std::vector<Microsoft::WRL::ComPtr<IStream>> Device::KeptStreams() const {
  const std::lock_guard lock(m_mutex);
  return m_keptStreams;
}

Microsoft::WRL::ComPtr<IWiaTransferCallback> Device::KeptCallback() const {
  const std::lock_guard lock(m_mutex);
  return m_keptCallback;
}

void Device::ReleaseKept() {
  // The last references go outside the lock: they may run the client's code.
  std::vector<Microsoft::WRL::ComPtr<IStream>> streams;
  Microsoft::WRL::ComPtr<IWiaTransferCallback> callback;
  const std::lock_guard lock(m_mutex);
  std::swap(streams, m_keptStreams);
  std::swap(callback, m_keptCallback);
}

CountedObject::CountedObject(std::shared_ptr<Device> device, const char* kind)
    : m_device(std::move(device)), m_kind(kind) {
  m_device->Add(*this);
}

CountedObject::~CountedObject() { m_device->Remove(*this); }

ULONG CountedObject::DropReference() noexcept {
  const ULONG references = --m_references;
  if (references == 0) {
    delete this;
  }
  return references;
}

}  // namespace simulator
