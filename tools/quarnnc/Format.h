// A file format the tool reads or writes: its name, how to recognise it, its reader and writer.
#pragma once

#include "tools/quarnnc/LeftOut.h"

#include "nc/nc/NCReader.h"
#include "nc/nc/NCStream.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn::Tool {

// How the tool sets up the writer of an output. An option left empty was not given; a format
// honours the options of its Format::writerOptions and is never given another one.
struct WriterOptions {
    bool mapToWCS = false;
    // Digits after the decimal point of the numbers written; 0 chooses by the length unit.
    std::optional<unsigned int> decimals;
    struct LineNumbers {
        unsigned int start = 10;
        unsigned int step = 10;
    };
    std::optional<LineNumbers> lineNumbers;
    // The largest distance, in millimetres, of the lines that stand for an arc from the arc.
    std::optional<double> arcTolerance;

    // The options of a writer, as bits of Format::writerOptions.
    enum Option : unsigned int {
        MapToWCS = 1u << 0,
        Decimals = 1u << 1,
        LineNumbering = 1u << 2,
        ArcTolerance = 1u << 3,
    };
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
    // The arcs the format could not hold as arcs and wrote as lines; asked after finish.
    virtual std::uint64_t arcsWrittenAsLines() const { return 0; }
};

// A constant that a file in formats/ defines and FormatRegistry.cpp lists. The parts a format
// lacks stay null: a format is readable when it has a reader, writable when it has a writer.
struct Format {
    // The short name used on the command line ("compact-nci").
    std::string_view name;
    // The file name extensions, in lower case and without the dot, that select the format for
    // output ("nci"); the first is the usual one. An output's extension matches in any case.
    std::span<std::string_view const> extensions;
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
    // The options of WriterOptions that the writer honours (bits of WriterOptions::Option).
    unsigned int writerOptions = 0;

    bool canRead() const noexcept { return recognises != nullptr && makeReader != nullptr; }
    bool canWrite() const noexcept { return makeWriter != nullptr; }
    // The shortest text that reads back as the coordinate the file holds.
    std::string coordinateText(double value) const;
};

} // namespace Quarn::Tool
