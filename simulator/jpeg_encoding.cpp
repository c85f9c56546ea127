#include "simulator/jpeg_encoding.h"

#include <objbase.h>
#include <wincodec.h>

#include <algorithm>

#include "platform/scoped.h"

namespace simulator {

namespace {

using platform::ComPtr;

// The client's thread may be in either apartment, or a thread of ours in none.
class Apartment {
 public:
  Apartment() noexcept : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~Apartment() {
    if (SUCCEEDED(m_result)) {
      CoUninitialize();
    }
  }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;

 private:
  HRESULT m_result;
};

HRESULT WriteFrame(IWICBitmapEncoder& encoder, Pixels& pixels, double dpiX, double dpiY) {
  ComPtr<IWICBitmapFrameEncode> frame;
  HRESULT result = encoder.CreateNewFrame(&frame, nullptr);
  if (FAILED(result)) {
    return result;
  }
  const WICPixelFormatGUID wanted = pixels.gray ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR;
  WICPixelFormatGUID format = wanted;
  if (FAILED(result = frame->Initialize(nullptr)) || FAILED(result = frame->SetSize(pixels.width, pixels.height)) ||
      FAILED(result = frame->SetResolution(dpiX, dpiY)) || FAILED(result = frame->SetPixelFormat(&format))) {
    return result;
  }
  if (format != wanted) {
    return WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT;
  }
  result =
      frame->WritePixels(pixels.height, pixels.stride, static_cast<UINT>(pixels.bytes.size()), pixels.bytes.data());
  return FAILED(result) ? result : frame->Commit();
}

HRESULT Encode(IStream& stream, Pixels& pixels, double dpiX, double dpiY) {
  ComPtr<IWICImagingFactory> factory;
  HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                    reinterpret_cast<void**>(factory.GetAddressOf()));
  if (FAILED(result)) {
    return result;
  }
  ComPtr<IWICBitmapEncoder> encoder;
  if (FAILED(result = factory->CreateEncoder(GUID_ContainerFormatJpeg, nullptr, &encoder)) ||
      FAILED(result = encoder->Initialize(&stream, WICBitmapEncoderNoCache)) ||
      FAILED(result = WriteFrame(*encoder.Get(), pixels, dpiX, dpiY))) {
    return result;
  }
  return encoder->Commit();
}

}  // namespace

std::vector<BYTE> EncodeJpeg(Pixels& pixels, double dpiX, double dpiY) {
  const Apartment apartment;
  ComPtr<IStream> stream;
  STATSTG state = {};
  if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, &stream)) || FAILED(Encode(*stream.Get(), pixels, dpiX, dpiY)) ||
      FAILED(stream->Stat(&state, STATFLAG_NONAME)) || FAILED(stream->Seek({}, STREAM_SEEK_SET, nullptr))) {
    return {};
  }
  std::vector<BYTE> jpeg(static_cast<std::size_t>(state.cbSize.QuadPart));
  ULONG read = 0;
  if (FAILED(stream->Read(jpeg.data(), static_cast<ULONG>(jpeg.size()), &read)) || read != jpeg.size()) {
    return {};
  }
  return jpeg;
}

}  // namespace simulator
