// FileInputStream over std::FILE: names in the platform's encoding, 64-bit sizes, errors as
// IOException.
#include "util/utility/io/FileInputStream.h"

#include "util/utility/IOException.h"
#include "util/utility/io/CFile.h"

namespace Quarn {

namespace {

// The size of a seekable file, leaving the file at its start; empty for pipes and the like.
std::optional<std::uint64_t> seekableSize(std::FILE* file)
{
#if defined(_WIN32)
    if (_fseeki64(file, 0, SEEK_END) != 0)
        return std::nullopt;
    auto end = _ftelli64(file);
    bool rewound = _fseeki64(file, 0, SEEK_SET) == 0;
#else
    static_assert(sizeof(off_t) >= 8, "64-bit file offsets are required");
    if (fseeko(file, 0, SEEK_END) != 0)
        return std::nullopt;
    auto end = ftello(file);
    bool rewound = fseeko(file, 0, SEEK_SET) == 0;
#endif
    if (end < 0 || !rewound)
        return std::nullopt;
    return static_cast<std::uint64_t>(end);
}

} // namespace

FileInputStream::FileInputStream(std::wstring const& path) : path(path)
{
    // A name with an embedded NUL would silently open a different file.
    if (path.find(L'\0') == std::wstring::npos)
        file = CFile::open(path, "rb");
    // fopen succeeds on directories; reading one byte (and putting it back) finds that out now
    // rather than at the first read.
    int first = EOF;
    if (file != nullptr) {
        size = seekableSize(file);
        first = std::getc(file);
        if (first == EOF && std::ferror(file)) {
            std::fclose(file);
            file = nullptr;
        }
    }
    if (file == nullptr)
        throw IOException(L"Cannot open file '" + path + L"' for reading.");
    if (first != EOF)
        std::ungetc(first, file);
}

FileInputStream::~FileInputStream()
{
    close();
}

std::size_t FileInputStream::read(void* buffer, std::size_t count)
{
    if (file == nullptr)
        throw IOException(L"Stream is closed.", position);
    std::size_t done = std::fread(buffer, 1, count, file);
    position += done;
    if (done < count && std::ferror(file))
        throw IOException(L"Cannot read from file '" + path + L"'.", position);
    return done;
}

void FileInputStream::close()
{
    if (file != nullptr) {
        std::fclose(file);
        file = nullptr;
    }
}

} // namespace Quarn
