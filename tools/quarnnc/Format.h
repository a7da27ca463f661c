// A file format the tool reads or writes: its name, how to recognise it and its reader and writer.
#pragma once

#include "nc/nc/NCReader.h"
#include "nc/nc/NCStream.h"

#include <memory>
#include <string>

namespace Quarn::Tool {

struct WriterOptions {
    bool mapToWCS = false;
};

// A writer and whatever it needs alive (the output file): the tail of a chain.
class OutputSink {
public:
    virtual ~OutputSink() = default;
    virtual NCStream& stream() = 0;
    // Completes the output (flushes the file); errors are thrown as ToolError.
    virtual void finish() = 0;
};

class Format {
public:
    virtual ~Format() = default;
    // The short name used on the command line ("compact-nci").
    virtual std::string getName() const = 0;
    // The file name extension that selects the format for output ("nci").
    virtual std::string getExtension() const = 0;

    // Reading: null reader when the format is written only.
    virtual bool canRead() const { return false; }
    // Recognises a file by its content, never by its name; must not throw.
    virtual bool recognises(std::wstring const& /*path*/) const { return false; }
    virtual std::unique_ptr<NCReader> makeReader() const { return nullptr; }
    // "2.4.0", or empty when the format has no version.
    virtual std::string getVersion(std::wstring const& /*path*/) const { return {}; }

    // Writing: null when the format is read only.
    virtual bool canWrite() const { return false; }
    virtual bool supportsMapToWCS() const { return false; }
    virtual std::unique_ptr<OutputSink> makeWriter(std::string const& /*path*/, WriterOptions const&) const
    {
        return nullptr;
    }
};

} // namespace Quarn::Tool
