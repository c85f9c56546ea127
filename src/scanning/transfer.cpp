// Running a preview or the final scan from the device to the file and its follow-up.
#include <windows.h>

#include <new>

#include "core/settings_catalogue.h"
#include "platform/debug_trace.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"
#include "scanning/image_file.h"
#include "scanning/scan_file_names.h"
#include "scanning/transfer_callback.h"
// Last: it declares the unbounded string functions deprecated.
#include <strsafe.h>

using platform::ComPtr;

namespace {

using Purpose = CSimpleWIACallback::Purpose;

bool FileExists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

// What a download left behind.
struct Delivery {
  HRESULT result = E_FAIL;               // of Download, or why it was not called
  std::wstring firstFile;                // empty: the device asked for no stream
  std::vector<std::wstring> laterFiles;  // of a preview only
};

// Runs the transfer into `path` and variants of it. The callback is closed before this returns: no call that the driver
// makes later reaches the dialog.
Delivery Download(IWiaTransfer* transfer, HWND owner, const wchar_t* path, Purpose purpose) {
  DebugTrace(L"wszFileName = [%s]", path);
  ComPtr<CSimpleWIACallback> callback;
  // It is made with one reference. Not Attach: in mingw-w64's header that takes another one.
  *callback.GetAddressOf() = new (std::nothrow) CSimpleWIACallback(owner, path, purpose);
  if (callback == nullptr) {
    return {E_OUTOFMEMORY, {}, {}};
  }
  ComPtr<IWiaTransferCallback> callbackInterface;
  HRESULT result = callback->QueryInterface(IID_IWiaTransferCallback, &callbackInterface);
  if (SUCCEEDED(result)) {
    result = transfer->Download(0, callbackInterface.Get());
  }
  callback->Close();
  return {result, callback->TakeFirstFile(), callback->TakeLaterPreviewFiles()};
}

}  // namespace

HRESULT SCAN_DIALOG::TransferImage(int previewFlag) {
  if (m_bTransferring) {
    return HRESULT_FROM_WIN32(ERROR_BUSY);
  }
  const platform::FlagGuard transferring(m_bTransferring);
  if (previewFlag != 0) {
    ClearPreview();
  }
  const bool platen = SendMessageW(m_hwndFeedMethod, CB_GETCURSEL, 0, 0) == settings::kFeedMethodPlatenIndex;
  HRESULT result = S_OK;
  const ComPtr<IWiaItem2> item = FirstChildItem(platen ? WIA_CATEGORY_FLATBED : WIA_CATEGORY_FEEDER, &result);
  if (item == nullptr) {
    return result;
  }
  ComPtr<IWiaPropertyStorage> storage;
  if (SUCCEEDED(item->QueryInterface(IID_IWiaPropertyStorage, &storage)) && storage != nullptr) {
    // A value that the driver rejects does not stop the scan: it runs with whatever the item holds.
    SetScanProperties(storage.Get(), previewFlag);
    storage.Reset();
  }
  ComPtr<IWiaTransfer> transfer;
  result = item->QueryInterface(IID_IWiaTransfer, &transfer);
  if (FAILED(result)) {
    return result;
  }
  if (transfer == nullptr) {
    return E_UNEXPECTED;
  }
  return previewFlag != 0 ? TransferPreview(transfer.Get()) : TransferScan(transfer.Get(), item.Get());
}

HRESULT SCAN_DIALOG::TransferPreview(IWiaTransfer* transfer) {
  scanning::PreviewFileName name;
  const HRESULT named = name.Make();
  if (FAILED(named)) {
    return named;
  }
  const bool existedBefore = FileExists(name.path());
  const Delivery delivery = Download(transfer, m_hDlg, name.path(), Purpose::Preview);
  for (const std::wstring& later : delivery.laterFiles) {
    DeleteFileW(later.c_str());
  }
  if (delivery.firstFile.empty() && existedBefore) {
    return delivery.result;  // as below: what is shown here is turned and deleted
  }
  if (delivery.result == S_OK) {
    UpdatePreviewImage(delivery.firstFile.empty() ? name.path() : delivery.firstFile.c_str());
  } else if (!delivery.firstFile.empty()) {
    DeleteFileW(delivery.firstFile.c_str());
  }
  return delivery.result;
}

HRESULT SCAN_DIALOG::TransferScan(IWiaTransfer* transfer, IWiaItem2* item) {
  wchar_t path[MAX_PATH] = {};
  const HRESULT named =
      scanning::MakeDestinationPath(m_pDeviceDialogData->bstrFolderName, m_pDeviceDialogData->bstrFilename, path);
  if (FAILED(named)) {
    return named;
  }
  const bool existedBefore = FileExists(path);
  const Delivery delivery = Download(transfer, m_hDlg, path, Purpose::Scan);
  if (delivery.firstFile.empty() && existedBefore) {
    // The file of that name is somebody else's: it is neither changed nor reported.
    return delivery.result;
  }
  wchar_t written[MAX_PATH] = {};
  StringCchCopyW(written, MAX_PATH, delivery.firstFile.empty() ? path : delivery.firstFile.c_str());
  if (delivery.result == S_OK && m_bPreviewLoaded) {
    ImageEditParams params;
    GetImageEditParams(&params);
    processImageFile(written, params);
    scanning::FollowImage(written);  // the caller opens what is reported
  }
  // A handler that failed meanwhile, in a message loop of the driver's, makes the whole call fail: a caller that is
  // told so does not look for files to free.
  const bool reports = SUCCEEDED(delivery.result) && SUCCEEDED(HandlerFailure());
  return reports ? ReportScan(item, written, delivery.result) : delivery.result;
}

HRESULT SCAN_DIALOG::ReportScan(IWiaItem2* item, const wchar_t* path, HRESULT result) {
  platform::TaskMemory list(CoTaskMemAlloc(sizeof(BSTR)));
  platform::BasicString pathString(SysAllocString(path));
  if (list == nullptr || pathString == nullptr) {
    return E_FAIL;
  }
  auto* paths = static_cast<BSTR*>(list.release());
  paths[0] = pathString.release();
  item->AddRef();
  m_pDeviceDialogData->lNumFiles = 1;
  m_pDeviceDialogData->pbstrFilePaths = paths;
  m_pDeviceDialogData->pWiaItem = item;
  return result;
}

void SCAN_DIALOG::GetImageEditParams(ImageEditParams* params) const {
  *params = {};
  switch (m_nRotation) {
    case 90:
      params->rotationType = 2;
      break;
    case 180:
      params->rotationType = 3;
      break;
    case 270:
      params->rotationType = 4;
      break;
    default:
      params->rotationType = 1;
      break;
  }
  if (m_rcSelection == preview::Rect{}) {
    return;
  }
  params->hasFrame = 1;
  params->left = m_rcSelection.left;
  params->top = m_rcSelection.top;
  params->right = m_rcSelection.right;
  params->bottom = m_rcSelection.bottom;
}

BOOL SCAN_DIALOG::processImageFile(const wchar_t* path, const ImageEditParams& params) {
  return scanning::processImageFile(path, params);
}

SCAN_DIALOG::~SCAN_DIALOG() {
  if (m_wstrPreviewFile[0] != L'\0') {
    DeleteFileW(m_wstrPreviewFile);
  }
}
