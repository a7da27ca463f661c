// FileOutputStream over std::FILE: names in the platform's encoding, every failure of the C runtime
// thrown.
#include "util/utility/io/FileOutputStream.h"

#include "util/utility/IOException.h"
#include "util/utility/io/CFile.h"

namespace Quarn {

FileOutputStream::FileOutputStream(std::wstring const& path, Mode mode) : path(path)
{
    // A name with an embedded NUL would silently open a different file.
    if (path.find(L'\0') == std::wstring::npos)
        file = CFile::open(path, mode == Append ? "ab" : "wb");
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
