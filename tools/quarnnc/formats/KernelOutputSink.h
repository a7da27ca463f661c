// The tail of a chain that writes kernel toolpath output: the NC program bound to a kernel
// writer (binary stream or JSON Lines) over an output file of the tool.
#pragma once

#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/Format.h"

#include "nc/nc/kernelstream/NCKernelOutputBinder.h"

namespace Quarn::Tool::Formats {

template <class Writer> class KernelOutputSink final : public OutputSink {
public:
    explicit KernelOutputSink(std::string const& path) : file(path), writer(&file), binder(&writer) { }
    // A sink given up half-way (the input failed) still closes its writer: a writer may insist.
    ~KernelOutputSink() override
    {
        if (!finished) {
            try {
                writer.closeStream();
            } catch (...) {
                // The output is incomplete anyway; the error that stopped the run is reported.
            }
        }
    }

    NCStream& stream() override { return binder; }
    void finish() override
    {
        finished = true;
        writer.closeStream();
    }
    std::vector<LeftOut> leftOut() const override
    {
        std::vector<LeftOut> result;
        for (std::size_t i = 0; i < NCEventCount; ++i)
            if (std::uint64_t const count = binder.getLeftOut(static_cast<NCEvent>(i)))
                result.push_back({static_cast<NCEvent>(i), count});
        return result;
    }
    std::vector<ValuesLeftOut> valuesLeftOut() const override
    {
        std::vector<ValuesLeftOut> result;
        for (std::size_t i = 0; i < LeftOutValueCount; ++i)
            if (std::uint64_t const count = binder.getLeftOut(static_cast<LeftOutValue>(i)))
                result.push_back({static_cast<LeftOutValue>(i), count});
        return result;
    }

private:
    OutputFile file;
    Writer writer;
    NCKernelOutputBinder binder;
    bool finished = false;
};

} // namespace Quarn::Tool::Formats
