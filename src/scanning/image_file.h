// Turning and cutting JPEG files in place. The thread must have COM and GDI+ started.
//
// A file is rewritten through a temporary file beside it: saved there, the image released, the file deleted, the
// temporary file renamed. On FALSE the file is byte for byte as it was; the one exception is a rename that fails after
// the deletion: then the temporary file, which holds the only copy of the image, stays. No other failure leaves one.
// A file that already bears the temporary name belongs to somebody else, and may be a link: it is neither written to
// nor deleted, and the operation fails.
//
// Files that are not JPEG, and those cut off before their end-of-image marker, fail.
#pragma once

#include <windows.h>

#include <cstdint>

// What the final scan's follow-up does to the file.
struct ImageEditParams {
  std::int32_t rotationType = 1;  // 1 as it is, 2 turned 90 degrees clockwise, 3 by 180, 4 by 270 clockwise
  double left = 0.0;              // the frame in millimetres from the turned image's top-left corner
  double top = 0.0;
  double right = 0.0;
  double bottom = 0.0;
  std::uint8_t hasFrame = 0;  // 1: cut to the frame
};

namespace scanning {

// The JPEG encoder's or another encoder's class by its exact MIME type, for example L"image/jpeg". Its index in the
// platform's list, or -1 with *clsid untouched.
int GetEncoderClsid(const wchar_t* mimeType, CLSID* clsid);

// Turns the file by a rotation type as in ImageEditParams. Below 2: TRUE, the file is not touched. Above 4: rewritten
// unturned. The file keeps its resolution, swapped between the axes for quarter turns.
BOOL rotateImageFile(int rotationType, const wchar_t* i_wstrImagePath);

// Rewrites the file turned by IDM_ROTATE_UPSIDE_DOWN, IDM_ROTATE_RIGHT or IDM_ROTATE_LEFT; unturned for any other
// command.
BOOL rotateImageFileByCommand(int command, const wchar_t* path);

// Cuts the file to a frame in millimetres. Not clipped to the image: the new image always has the frame's size. FALSE
// for a frame without area.
BOOL trimImageFile(const wchar_t* o_wstrImagePath, double left, double top, double right, double bottom);

// Turns the file, then cuts it to the frame if there is one, also when the turn failed; the result is the last
// operation's. Where both are possible they are done in one pass, so that the page is decoded and encoded once.
BOOL processImageFile(const wchar_t* path, const ImageEditParams& params);

// Where the image of a rewritten file is: a rename that failed has left it under the temporary name. `path`, a buffer
// of MAX_PATH characters, is changed to that name then.
void FollowImage(wchar_t* path);

}  // namespace scanning
