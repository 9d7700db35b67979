// Files as streams.
#pragma once

#include "Platform/DirectShow/IStream.h"

/// Opens a file as a stream, with a reference for the caller. grfMode combines one access, one sharing (none given:
/// nothing is denied) and STGM_CREATE (made, or emptied; without it the file must exist).
///
/// A stream keeps a position and is used by one thread at a time; its clones have positions of their own, share the
/// open file, and may be used at the same time. A stream of any access can be read, so that the clone of a writer's
/// stream reads what was written. Small writes are gathered and handed to the system in order before anything could
/// tell the difference; see Platform/Kernel/File.h.
///
/// Failures are results 0x8007xxxx: 0x80070002 and 0x80070003 for a missing file or folder, 0x80070020 when another
/// open of the file does not share.
HRESULT SHCreateStreamOnFileW(const wchar_t* pszFile, DWORD grfMode, IStream** ppstm);
