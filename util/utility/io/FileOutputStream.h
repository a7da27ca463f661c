// Bytes written to a file through the C runtime; a new file or appended to an existing one.
#pragma once

#include "util/utility/io/OutputStream.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace Quarn {

class QUARN_NC_EXPORT FileOutputStream final : public OutputStream {
public:
    enum Mode { Create, Append };

    // Create truncates or creates the file, Append writes after its end. Throws IOException
    // "Cannot open file '<path>' for writing." when the file cannot be opened.
    explicit FileOutputStream(std::wstring const& path, Mode mode = Create);
    // Closes without throwing; call close() first to see errors of the last bytes.
    ~FileOutputStream() override;
    FileOutputStream(FileOutputStream const&) = delete;
    FileOutputStream& operator=(FileOutputStream const&) = delete;

    // Write, flush and close throw IOException "Cannot write to file '<path>'." on failure;
    // write and flush also "Stream is closed." after close. close is idempotent.
    void write(void const* data, std::size_t size) override;
    void flush() override;
    void close() override;
    bool isOpen() const override { return file != nullptr; }

    // Bytes written through this stream.
    std::uint64_t getPosition() const noexcept { return position; }

private:
    [[noreturn]] void fail() const;
    std::FILE* checkedFile() const;

    std::wstring path;
    std::FILE* file = nullptr;
    std::uint64_t position = 0;
};

} // namespace Quarn
