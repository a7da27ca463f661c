// The parts most formats are made of: a reader chosen by its type, and a writer that writes
// into an output file of the tool.
#pragma once

#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/Format.h"

#include <memory>
#include <string>

namespace Quarn::Tool::Formats {

// Format::recognises of a reader that knows its files (NCReader::isValid).
template <class Reader> bool recognisedBy(std::wstring const& path) { return Reader().isValid(path); }

template <class Reader> std::unique_ptr<NCReader> makeReader() { return std::make_unique<Reader>(); }

// A writer constructed on an OutputStream, writing into an OutputFile. It is given the options it
// has a setter for and that the command line gave (the format's writerOptions say which).
template <class Writer> class FileSink final : public OutputSink {
public:
    FileSink(std::string const& path, WriterOptions const& options) : file(path), writer(&file)
    {
        if constexpr (requires { writer.setMapToWCS(true); })
            writer.setMapToWCS(options.mapToWCS);
        if constexpr (requires { writer.setDecimals(3u); })
            if (options.decimals)
                writer.setDecimals(*options.decimals);
        if constexpr (requires { writer.setLineNumbers(10u, 10u); })
            if (options.lineNumbers)
                writer.setLineNumbers(options.lineNumbers->start, options.lineNumbers->step);
        if constexpr (requires { writer.setArcTolerance(0.001); })
            if (options.arcTolerance)
                writer.setArcTolerance(*options.arcTolerance);
    }
    NCStream& stream() override { return writer; }
    void finish() override { file.close(); }
    std::vector<LeftOut> leftOut() const override
    {
        std::vector<LeftOut> result;
        if constexpr (requires { writer.getLeftOut(NCEvent::onOpen); })
            for (std::size_t i = 0; i < NCEventCount; ++i)
                if (std::uint64_t const count = writer.getLeftOut(static_cast<NCEvent>(i)))
                    result.push_back({static_cast<NCEvent>(i), count});
        return result;
    }
    std::vector<ValuesLeftOut> valuesLeftOut() const override
    {
        std::vector<ValuesLeftOut> result;
        if constexpr (requires { writer.getLeftOut(LeftOutValue::Feed); })
            for (std::size_t i = 0; i < LeftOutValueCount; ++i)
                if (std::uint64_t const count = writer.getLeftOut(static_cast<LeftOutValue>(i)))
                    result.push_back({static_cast<LeftOutValue>(i), count});
        return result;
    }
    std::uint64_t arcsWrittenAsLines() const override
    {
        if constexpr (requires { writer.getLinearisedArcs(); })
            return writer.getLinearisedArcs();
        else
            return 0;
    }

private:
    OutputFile file;
    Writer writer;
};

// Format::makeWriter of a writer that FileSink can hold.
template <class Writer> std::unique_ptr<OutputSink> makeFileSink(std::string const& path, WriterOptions const& options)
{
    return std::make_unique<FileSink<Writer>>(path, options);
}

} // namespace Quarn::Tool::Formats
