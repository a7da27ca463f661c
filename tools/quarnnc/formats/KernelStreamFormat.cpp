// The CAM kernel's binary toolpath stream: read and written through the binders to NC events;
// coordinates are 32-bit floats.
#include "tools/quarnnc/formats/FormatParts.h"
#include "tools/quarnnc/formats/KernelOutputSink.h"

#include "nc/nc/kernelstream/KernelNCReader.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"kts"};

// The facts about the kernel process that an NC program has no event for.
std::string processFactsLeftOut(NCReader const& reader)
{
    using Fact = ToolpathNCStreamBinder::ProcessFact;
    struct Noun {
        Fact fact;
        char const* one;
        char const* many;
    } const nouns[] = {
        {Fact::Module, "kernel module report", "kernel module reports"},
        {Fact::MemoryInformation, "kernel memory report", "kernel memory reports"},
        {Fact::OutOfMemory, "kernel out-of-memory report", "kernel out-of-memory reports"},
        {Fact::ProcessInfo, "kernel process report", "kernel process reports"},
    };
    auto const& kernel = static_cast<KernelNCReader const&>(reader);
    std::string list;
    for (Noun const& noun : nouns)
        if (std::uint64_t const count = kernel.getNotCarried(noun.fact))
            list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + (count == 1 ? noun.one : noun.many);
    if (list.empty())
        return {};
    bool const one = kernel.getNotCarriedTotal() == 1;
    return list + (one ? " has no place in an NC program and was left out"
                       : " have no place in an NC program and were left out");
}

} // namespace

extern constinit Format const kernelStream {
    .name = "kernel",
    .extensions = extensions,
    .floatCoordinates = true,
    .recognises = recognisedBy<KernelNCReader>,
    .makeReader = makeReader<KernelNCReader>,
    // The reader recognises one version only.
    .version = [](std::wstring const&) { return std::string("3.1.1.3"); },
    .readerLeftOut = processFactsLeftOut,
    .makeWriter = [](std::string const& path, WriterOptions const&) -> std::unique_ptr<OutputSink> {
        return std::make_unique<KernelOutputSink<KernelOutputStream>>(path);
    },
};

} // namespace Quarn::Tool::Formats
