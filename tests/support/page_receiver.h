// The other end of a transfer.
#pragma once

#include <vector>

#include "platform/scoped.h"
#include "platform/wia2.h"

namespace simulator {

// Takes every page into memory and remembers what it was told.
class PageReceiver final : public IWiaTransferCallback {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE TransferCallback(LONG, WiaTransferParams* parameters) override {
    thread = GetCurrentThreadId();
    if (parameters == nullptr) {
      ++nullRecords;
    } else if (parameters->lMessage == WIA_TRANSFER_MSG_STATUS) {
      rising = rising && (parameters->lPercentComplete >= percent || parameters->lPercentComplete == 0);
      percent = parameters->lPercentComplete;
      status = FAILED(parameters->hrErrorStatus) ? parameters->hrErrorStatus : status;
    }
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetNextStream(LONG, BSTR, BSTR, IStream** stream) override {
    CreateStreamOnHGlobal(nullptr, TRUE, &pages.emplace_back());
    return refuse ? STG_E_ACCESSDENIED : pages.back().CopyTo(stream);
  }

  std::vector<platform::ComPtr<IStream>> pages;
  ULONG references = 1;
  DWORD thread = 0;
  int nullRecords = 0;
  LONG percent = 0;
  bool rising = true;
  bool refuse = false;
  HRESULT status = S_OK;
};

}  // namespace simulator
