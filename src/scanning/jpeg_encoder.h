// Saving a bitmap as JPEG, on more than one processor where there are.
#pragma once

#include <windows.h>

#include "platform/gdiplus_owners.h"

namespace scanning {

// Writes the bitmap to the stream, from its position on, with the encoder's default settings. `encoder`: the JPEG
// encoder's class. Large bitmaps are encoded in strips by up to four threads, all of which have ended on return; the
// pixels are the same. False when anything fails; the stream's content is then of no use.
bool SaveAsJpeg(Gdiplus::GpImage* bitmap, const CLSID& encoder, IStream* stream);

}  // namespace scanning
