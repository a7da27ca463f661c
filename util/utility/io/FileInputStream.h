// Bytes of a file read through the C runtime, with the file's size when it is a regular file.
#pragma once

#include "util/utility/io/InputStream.h"

#include <cstdio>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT FileInputStream final : public InputStream {
public:
    // Throws IOException "Cannot open file '<path>' for reading." when the file cannot be read.
    explicit FileInputStream(std::wstring const& path);
    ~FileInputStream() override;
    FileInputStream(FileInputStream const&) = delete;
    FileInputStream& operator=(FileInputStream const&) = delete;

    // Throws IOException on a read error, or on a closed stream.
    std::size_t read(void* buffer, std::size_t size) override;
    std::uint64_t getPosition() const override { return position; }
    // Known when the file can seek (regular files), empty for pipes and the like.
    std::optional<std::uint64_t> getSize() const override { return size; }
    // Idempotent.
    void close() override;


private:
    std::wstring path;
    std::FILE* file = nullptr;
    std::uint64_t position = 0;
    std::optional<std::uint64_t> size;
};

} // namespace Quarn
