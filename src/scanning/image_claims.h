// A look at an image file before it is decoded.
#pragma once

namespace scanning {

// Whether the file's header claims more pixels than the file can hold, or than GDI+ can: decoding it would take the
// host's memory, with some codecs (Wine 8) its life. Also for a JPEG whose header names no size: a decoder might find
// one after all. False for a file that cannot be read or whose format the platform does not know. Needs COM.
bool ClaimsTooMuch(const wchar_t* path);

}  // namespace scanning
