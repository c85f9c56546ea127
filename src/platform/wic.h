// Opening image files with the platform's imaging component (WIC). The thread must have COM.
#pragma once

#include <windows.h>

#include <wincodec.h>

#include "platform/scoped.h"

namespace platform {

// The first picture of an image file. The file stays open while this lives.
struct ImageFrame {
  ComPtr<IWICImagingFactory> factory;
  ComPtr<IWICBitmapFrameDecode> pixels;  // null: the file cannot be opened, or no codec knows it
};

inline ImageFrame OpenImage(const wchar_t* path) {
  ImageFrame frame;
  ComPtr<IWICBitmapDecoder> decoder;
  if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&frame.factory))) ||
      FAILED(frame.factory->CreateDecoderFromFilename(path, nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand,
                                                      &decoder)) ||
      FAILED(decoder->GetFrame(0, &frame.pixels))) {
    frame.pixels.Reset();
  }
  return frame;
}

}  // namespace platform
