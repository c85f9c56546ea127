// Writing the settings to the device's item.
#include <windows.h>

#include "core/scan_properties.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// WIA reserves the identifiers below for itself; WriteMultiple takes the first one that may be given a name.
constexpr PROPID kFirstNamedProperty = WIA_IPS_FIRST;
static_assert(kFirstNamedProperty == 6146);

static_assert(static_cast<PROPID>(scanning::PropertyId::Format) == (WIA_IPA_FORMAT));
static_assert(static_cast<PROPID>(scanning::PropertyId::DataType) == (WIA_IPA_DATATYPE));
static_assert(static_cast<PROPID>(scanning::PropertyId::HorizontalResolution) == (WIA_IPS_XRES));
static_assert(static_cast<PROPID>(scanning::PropertyId::VerticalResolution) == (WIA_IPS_YRES));
static_assert(static_cast<PROPID>(scanning::PropertyId::Brightness) == (WIA_IPS_BRIGHTNESS));
static_assert(static_cast<PROPID>(scanning::PropertyId::Rotation) == (WIA_IPS_ROTATION));
static_assert(static_cast<PROPID>(scanning::PropertyId::Preview) == WIA_IPS_PREVIEW);
static_assert(static_cast<PROPID>(scanning::PropertyId::PageSize) == WIA_IPS_PAGE_SIZE);
static_assert(static_cast<PROPID>(scanning::PropertyId::Pages) == WIA_IPS_PAGES);
static_assert(static_cast<PROPID>(scanning::PropertyId::DocumentHandlingSelect) == WIA_IPS_DOCUMENT_HANDLING_SELECT);

}  // namespace

HRESULT SCAN_DIALOG::SetScanProperties(IWiaPropertyStorage* storage, int previewFlag) {
  const scanning::ScanPropertyBatch batch = scanning::BuildScanProperties(ReadSettings(), previewFlag != 0);

  GUID format = WiaImgFmt_JPEG;
  PROPSPEC ids[scanning::kMaximumScanProperties] = {};
  PROPVARIANT values[scanning::kMaximumScanProperties] = {};
  for (std::size_t i = 0; i < batch.count; ++i) {
    const scanning::ScanProperty& property = batch.properties[i];
    ids[i].ulKind = PRSPEC_PROPID;
    ids[i].propid = static_cast<PROPID>(property.id);
    if (property.id == scanning::PropertyId::Format) {
      values[i].vt = VT_CLSID;
      values[i].puuid = &format;
    } else {
      values[i].vt = VT_I4;
      values[i].lVal = property.value;
    }
  }
  return storage->WriteMultiple(static_cast<ULONG>(batch.count), ids, values, kFirstNamedProperty);
}
