// Source of text lines: the abstract base of the line-based readers' input.
#pragma once

#include "util/utility/Export.h"

#include <string>

namespace Quarn {

class QUARN_NC_EXPORT LineReader {
public:
    virtual ~LineReader();

    // Reads the next line into line without its "\n" or "\r\n"; false at the end of the text.
    virtual bool readLine(std::string& line) = 0;
    // 1-based number of the last line read; 0 before the first.
    virtual unsigned int getLineNumber() const = 0;

protected:
    LineReader() = default;
    LineReader(LineReader const&) = default;
    LineReader& operator=(LineReader const&) = default;
};

} // namespace Quarn
