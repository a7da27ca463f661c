// A file format the tool reads or writes: its name, how to recognise it, its reader and writer.
#pragma once

#include "tools/quarnnc/LeftOut.h"

#include "nc/nc/NCReader.h"
#include "nc/nc/NCStream.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn::Tool {

struct WriterOptions {
    bool mapToWCS = false;
};

struct ReaderOptions;

// A writer and whatever it needs alive (the output file): the tail of a chain.
class OutputSink {
public:
    virtual ~OutputSink() = default;
    virtual NCStream& stream() = 0;
    // Completes the output (flushes the file); errors are thrown as ToolError or IOException.
    virtual void finish() = 0;
    // The events the format has no place for, by kind; asked after finish.
    virtual std::vector<LeftOut> leftOut() const { return {}; }
    // The values the format dropped from events it kept; asked after finish.
    virtual std::vector<ValuesLeftOut> valuesLeftOut() const { return {}; }
};

// A constant that a file in formats/ defines and FormatRegistry.cpp lists. The parts a format
// lacks stay null: a format is readable when it has a reader, writable when it has a writer.
struct Format {
    // The short name used on the command line ("compact-nci").
    std::string_view name;
    // The file name extension that selects the format for output ("nci").
    std::string_view extension;
    // Whether the format stores coordinates as 32-bit floats: they then print as the shortest
    // text of the float (99.999), not of the double it widens to (99.9990005493164).
    bool floatCoordinates = false;

    // Recognises a file by its content, never by its name; must not throw.
    bool (*recognises)(std::wstring const& path) = nullptr;
    std::unique_ptr<NCReader> (*makeReader)() = nullptr;
    // Applies the options that concern the format to a reader of makeReader; null for a format
    // whose reader has no options.
    void (*configureReader)(NCReader& reader, ReaderOptions const& options) = nullptr;
    // Names a file that no format recognises when it is a kind of file known to be taken for this
    // format's files ("A circuit-board drill file, not an NC program."); "" otherwise; must not
    // throw.
    std::string (*namesForeign)(std::wstring const& path) = nullptr;
    // "2.4.0"; null when the format has no version.
    std::string (*version)(std::wstring const& path) = nullptr;
    // What the reader read but could not pass on as NC events, as a sentence ("" for nothing);
    // asked after a replay, null for a reader that carries everything.
    std::string (*readerLeftOut)(NCReader const& reader) = nullptr;

    std::unique_ptr<OutputSink> (*makeWriter)(std::string const& path, WriterOptions const& options) = nullptr;
    // Whether the writer honours WriterOptions::mapToWCS.
    bool mapsToWCS = false;

    bool canRead() const noexcept { return recognises != nullptr && makeReader != nullptr; }
    bool canWrite() const noexcept { return makeWriter != nullptr; }
    // The shortest text that reads back as the coordinate the file holds.
    std::string coordinateText(double value) const;
};

} // namespace Quarn::Tool
