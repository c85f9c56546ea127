#include "simulator/simulated_scanner.h"

#include "simulator/device.h"
#include "simulator/wia_items.h"

namespace simulator {

namespace {

struct CodedPageSize {
  LONG code;
  PageSize size;
};

constexpr CodedPageSize kPageSizes[] = {
    {0, {210.0, 297.0}},          // A4
    {1, {215.9, 279.4}},          // Letter
    {3, {215.9, 355.6}},          // Legal
    {5, {139.7, 215.9}},          // Statement
    {11, {148.0, 210.0}},         // A5
    {12, {105.0, 148.0}},         // A6
    {22, {176.0, 250.0}},         // ISO B5
    {23, {125.0, 176.0}},         // ISO B6
    {0x8001, {210.0, 330.0}},     // Folio
    {0x8002, {216.0, 340.0}},     // Oficio II
    {0x8003, {184.15, 266.7}},    // Executive
    {0x8004, {104.775, 241.3}},   // envelope no. 10
    {0x8005, {98.425, 225.425}},  // envelope no. 9
    {0x8006, {98.425, 190.5}},    // envelope Monarch
    {0x8007, {92.075, 165.1}},    // envelope no. 6 3/4
    {0x8008, {162.0, 229.0}},     // envelope C5
    {0x8009, {110.0, 220.0}},     // envelope DL
    {0x800A, {100.0, 148.0}},     // postcard
    {0x800B, {148.0, 200.0}},     // reply postcard, unfolded
    {0x800C, {114.0, 162.0}},     // Youkei 2
    {0x800D, {105.0, 235.0}},     // Youkei 4
    {0x800F, {195.0, 270.0}},     // 16K
    {0x8010, {176.0, 250.0}},     // ISO B5 under the device's own code
};

}  // namespace

std::optional<PageSize> PageSizeOfCode(LONG code) {
  for (const CodedPageSize& entry : kPageSizes) {
    if (entry.code == code) {
      return entry.size;
    }
  }
  return std::nullopt;
}

SimulatedScanner::SimulatedScanner(ScannerConfiguration configuration, FaultPlan faults)
    : m_device(std::make_shared<Device>(std::move(configuration), std::move(faults))) {}

// What a client still holds lives on with the device; what the device holds of the client does not.
SimulatedScanner::~SimulatedScanner() { m_device->ReleaseKept(); }

Microsoft::WRL::ComPtr<IWiaItem2> SimulatedScanner::Root() const { return WiaItem::Create(m_device, ItemKind::root); }

void SimulatedScanner::SetFaults(FaultPlan faults) { m_device->SetFaults(std::move(faults)); }

std::vector<std::string> SimulatedScanner::Calls() const { return m_device->Calls(); }

std::vector<WrittenBatch> SimulatedScanner::Batches() const { return m_device->Batches(); }

std::vector<TransferRecord> SimulatedScanner::Transfers() const { return m_device->Transfers(); }

void SimulatedScanner::ClearLog() { m_device->ClearLog(); }

PropertyValue SimulatedScanner::Property(const GUID& category, PROPID id) const {
  const ItemKind kind = category == WIA_CATEGORY_FEEDER ? ItemKind::feeder : ItemKind::flatbed;
  const auto property = m_device->Properties(kind).Find(id);
  return property ? property->value : PropertyValue{};
}

std::vector<LiveObject> SimulatedScanner::LiveObjects() const { return m_device->LiveObjects(); }

std::vector<Microsoft::WRL::ComPtr<IStream>> SimulatedScanner::KeptStreams() const { return m_device->KeptStreams(); }

Microsoft::WRL::ComPtr<IWiaTransferCallback> SimulatedScanner::KeptCallback() const { return m_device->KeptCallback(); }

void SimulatedScanner::ReleaseKept() { m_device->ReleaseKept(); }

}  // namespace simulator
