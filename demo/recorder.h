// A device seen through a window: whatever a dialog asks of its items reaches them unchanged, and is reported.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/scoped.h"
#include "platform/wia2.h"

namespace simulator {

// What the items of one device report to.
class Recorder {
 public:
  using Report = std::function<void(const std::wstring&)>;
  // report: called with lines, on the threads on which the dialog and the device call.
  explicit Recorder(Report report) : m_report(std::move(report)) {}

  void Line(const std::wstring& line) const { m_report(line); }
  void NoteTransfer(HRESULT result) { m_failed = FAILED(result); }
  // Whether the last transfer went wrong.
  bool Failed() const { return m_failed; }

 private:
  const Report m_report;
  bool m_failed = false;
};

// The item behind the window; items, property storages and transfers that come from it are behind it too. It answers to
// no interface besides those that a scan dialog needs: IWiaItem2, IWiaPropertyStorage and IWiaTransfer. Null without
// memory.
platform::ComPtr<IWiaItem2> RecordItem(const platform::ComPtr<IWiaItem2>& item,
                                       const std::shared_ptr<Recorder>& recorder);

}  // namespace simulator
