// JSON Lines of the kernel's toolpath output: written only, one object per line.
#include "tools/quarnnc/formats/KernelOutputSink.h"

#include "nc/nc/kernelstream/JSONOutputStream.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"jsonl"};

} // namespace

extern constinit Format const jsonLines {
    .name = "jsonl",
    .extensions = extensions,
    .makeWriter = [](std::string const& path, WriterOptions const&) -> std::unique_ptr<OutputSink> {
        return std::make_unique<KernelOutputSink<JSONOutputStream>>(path);
    },
};

} // namespace Quarn::Tool::Formats
