// Opening a std::FILE by a wide name, shared by the file streams (internal).
#pragma once

#include <cstdio>
#include <string>

namespace Quarn::CFile {

// Opens the file by its name as the platform takes it: UTF-16 on Windows (where wchar_t holds
// UTF-16), UTF-8 elsewhere. Null when the C runtime cannot open it.
std::FILE* open(std::wstring const& path, char const* mode);

} // namespace Quarn::CFile
