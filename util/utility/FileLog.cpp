// FileLog: a shared, buffered output stream whose exceptions become a failure flag.
#include "util/utility/FileLog.h"

#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/io/FileOutputStream.h"
#include "util/utility/text/Unicode.h"

#include <memory>

namespace Quarn {

namespace {
// Lines are collected up to this size before they go to the file.
constexpr std::size_t FlushSize = 64 * 1024;
} // namespace

struct FileLog::File {
    std::unique_ptr<FileOutputStream> owned; // the log's own file, when it opened one
    OutputStream* stream = nullptr;
    std::string buffer;
    bool failed = false;

    void writeBuffer() noexcept
    {
        if (!stream || buffer.empty())
            return;
        try {
            stream->write(buffer.data(), buffer.size());
        } catch (IOException const&) {
            failed = true;
        }
        buffer.clear();
    }

    void flush() noexcept
    {
        writeBuffer();
        try {
            if (stream)
                stream->flush();
        } catch (IOException const&) {
            failed = true;
        }
    }

    // A caller's stream is flushed and left open; the log's own file is closed.
    void close() noexcept
    {
        if (!owned) {
            flush();
            stream = nullptr;
            return;
        }
        writeBuffer();
        try {
            owned->close();
        } catch (IOException const&) {
            failed = true;
        }
        owned.reset();
        stream = nullptr;
    }

    ~File() { close(); }
};

FileLog::FileLog() = default;
FileLog::~FileLog() = default;
FileLog::FileLog(FileLog const&) = default;
FileLog& FileLog::operator=(FileLog const&) = default;

bool FileLog::open(std::wstring const& fileName, int mode)
{
    QUARN_EXPECTS(mode == Create || mode == Append);
    file.reset();
    if (mode != Create && mode != Append)
        return false;
    auto opened = std::make_shared<File>();
    try {
        opened->owned = std::make_unique<FileOutputStream>(
            fileName, mode == Append ? FileOutputStream::Append : FileOutputStream::Create);
    } catch (IOException const&) {
        return false;
    }
    opened->stream = opened->owned.get();
    file = std::move(opened);
    return true;
}

void FileLog::open(OutputStream* stream)
{
    QUARN_EXPECTS(stream);
    file.reset();
    if (!stream)
        return;
    file = std::make_shared<File>();
    file->stream = stream;
}

bool FileLog::isOpen() const noexcept
{
    return file && file->stream;
}

void FileLog::writeLine(std::wstring_view line)
{
    if (!isOpen())
        return;
    Unicode::appendUTF8(file->buffer, line);
    file->buffer.push_back('\n');
    if (file->buffer.size() >= FlushSize)
        file->writeBuffer();
}

void FileLog::writeUTF8Line(std::string_view line)
{
    if (!isOpen())
        return;
    file->buffer.append(line);
    file->buffer.push_back('\n');
    if (file->buffer.size() >= FlushSize)
        file->writeBuffer();
}

void FileLog::flush()
{
    if (file)
        file->flush();
}

void FileLog::close()
{
    if (file)
        file->close();
}

bool FileLog::hasFailed() const noexcept
{
    return file && file->failed;
}

} // namespace Quarn
