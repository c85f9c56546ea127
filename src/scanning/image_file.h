// Turning and cutting image files in place. The thread must have COM and GDI+ started.
//
// Whatever the platform can decode is turned and cut; the result is a JPEG under the same name. A file is rewritten
// through a temporary file beside it: saved there, the image released, the file deleted, the temporary file renamed. On
// FALSE the file is byte for byte as it was, with one exception: when the rename fails after the deletion, the
// temporary file, which holds the only copy of the image, stays. No other failure leaves one. Whichever it is, `path`
// says afterwards where the image is: it is a buffer of MAX_PATH characters in every function here.
//
// A temporary name that is taken belongs to somebody else, or is an image that an earlier failure left: the next free
// number is used, as for the pages of a stack.
#pragma once

#include <windows.h>

#include "core/page_edit.h"

namespace scanning {

// Whether the file's header claims more pixels than the file can hold, or than GDI+ can: decoding it would take the
// host's memory, with some codecs (Wine 8) its life. Also for a JPEG whose header names no size: a decoder might find
// one after all. False for a file that cannot be read or whose format the platform does not know.
bool ClaimsTooMuch(const wchar_t* path);

// The JPEG encoder's or another encoder's class by its exact MIME type, for example L"image/jpeg". Its index in the
// platform's list, or -1 with *clsid untouched.
int GetEncoderClsid(const wchar_t* mimeType, CLSID* clsid);

// Turns the file. Rewritten also when it is not turned at all. The file keeps its resolution, swapped between the axes
// for quarter turns.
BOOL TurnImageFile(wchar_t* path, page::Turn turn);

// The same by a rotation type as in ImageEditParams. Below 2: TRUE, the file is not touched.
BOOL rotateImageFile(int rotationType, wchar_t* path);

// Cuts the file to a frame in millimetres. Not clipped to the image: the new image always has the frame's size, black
// where it lies beside the page. FALSE for a frame without area.
BOOL trimImageFile(wchar_t* path, double left, double top, double right, double bottom);

// Turns the file and cuts it to the frame if there is one, in one pass. The result is the cut's when there is a frame:
// a page whose frame has no area is turned, and the result is FALSE.
BOOL processImageFile(wchar_t* path, const ImageEditParams& params);

}  // namespace scanning
