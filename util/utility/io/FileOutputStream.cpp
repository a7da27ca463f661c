// FileOutputStream over std::FILE: names in the platform's encoding, every failure of the C runtime
// thrown.
#include "util/utility/io/FileOutputStream.h"

#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

namespace Quarn {

namespace {

// Opens the file by its name as the platform takes it: UTF-16 on Windows (where wchar_t holds
// UTF-16), UTF-8 elsewhere.
std::FILE* openFile(std::wstring const& path, char const* mode)
{
#if defined(_WIN32)
    std::wstring const wideMode(mode, mode + std::char_traits<char>::length(mode));
    return _wfopen(path.c_str(), wideMode.c_str());
#else
    return std::fopen(Unicode::toUTF8(path).c_str(), mode);
#endif
}

} // namespace

FileOutputStream::FileOutputStream(std::wstring const& path, Mode mode) : path(path)
{
    // A name with an embedded NUL would silently open a different file.
    if (path.find(L'\0') == std::wstring::npos)
        file = openFile(path, mode == Append ? "ab" : "wb");
    if (file == nullptr)
        throw IOException(L"Cannot open file '" + path + L"' for writing.");
}

FileOutputStream::~FileOutputStream()
{
    if (file != nullptr)
        std::fclose(file);
}

void FileOutputStream::write(void const* data, std::size_t size)
{
    std::FILE* out = checkedFile();
    if (std::fwrite(data, 1, size, out) != size)
        fail();
    position += size;
}

void FileOutputStream::flush()
{
    if (std::fflush(checkedFile()) != 0)
        fail();
}

void FileOutputStream::close()
{
    if (file == nullptr)
        return;
    // The handle is released even when the last bytes cannot be written.
    std::FILE* closing = file;
    file = nullptr;
    if (std::fclose(closing) != 0)
        fail();
}

void FileOutputStream::fail() const
{
    throw IOException(L"Cannot write to file '" + path + L"'.", position);
}

std::FILE* FileOutputStream::checkedFile() const
{
    if (file == nullptr)
        throw IOException(L"Stream is closed.", position);
    return file;
}

} // namespace Quarn
