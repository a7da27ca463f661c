// A log file of UTF-8 lines that never stops the program: failures are remembered, not thrown.
#pragma once

#include "util/utility/Export.h"

#include <memory>
#include <string>
#include <string_view>

namespace Quarn {

class OutputStream;

// Copies share the open file and its buffer, so a copied logging stage writes into the same
// log, in order. Lines carry no time stamps, so that a log of the same run is the same file.
class QUARN_NC_EXPORT FileLog {
public:
    enum Mode { Create = 0, Append = 1 };

    FileLog();
    ~FileLog();
    FileLog(FileLog const&);
    FileLog& operator=(FileLog const&);

    // Opens fileName (Create truncates or creates it, Append writes after its end) for this log
    // alone; copies made before keep the file they had. Returns false when the file cannot be
    // opened or the mode is unknown; the log is then closed.
    bool open(std::wstring const& fileName, int mode);
    // Writes into stream instead of a file of its own: a pipe, memory or a counting sink. The
    // stream is not owned and must outlive the log's copies; close flushes it and leaves it open.
    void open(OutputStream* stream);
    bool isOpen() const noexcept;

    // Appends line and '\n' in UTF-8; does nothing while the log is closed.
    void writeLine(std::wstring_view line);
    // The same for a line that is UTF-8 already; its bytes are written as they are.
    void writeUTF8Line(std::string_view line);
    // Writes the buffered lines into the file.
    void flush();
    // Writes the buffered lines and closes the file, for every copy sharing it.
    void close();

    // True when a write, flush or close of the shared file failed since it was opened.
    bool hasFailed() const noexcept;

private:
    struct File;
    std::shared_ptr<File> file;
};

} // namespace Quarn
