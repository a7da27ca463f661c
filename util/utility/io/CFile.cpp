// Opening a std::FILE by a wide name.
#include "util/utility/io/CFile.h"

#include "util/utility/text/Unicode.h"

namespace Quarn::CFile {

std::FILE* open(std::wstring const& path, char const* mode)
{
#if defined(_WIN32)
    std::wstring const wideMode(mode, mode + std::char_traits<char>::length(mode));
    return _wfopen(path.c_str(), wideMode.c_str());
#else
    return std::fopen(Unicode::toUTF8(path).c_str(), mode);
#endif
}

} // namespace Quarn::CFile
