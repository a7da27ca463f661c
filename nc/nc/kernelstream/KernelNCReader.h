// Reader of CAM kernel toolpath stream files as NC programs.
#pragma once

#include "nc/nc/NCReader.h"
#include "nc/nc/kernelstream/ToolpathNCStreamBinder.h"

#include <array>
#include <cstdint>
#include <string>

namespace Quarn {

// Reads the stream with KernelReader and sends it through ToolpathNCStreamBinder (whose header
// gives the mapping, the sense of arcs and what is not carried) to getNCStream(), polling
// getAbortable() before every entity.
//
// import returns true when the stream ended with its end entity (onClose was then sent), and
// false when the NC stream refused an event or the abort source reported an abort; nothing more
// is sent after either. Malformed input throws IOException with the byte offset:
//   "Not a CAM kernel stream."                        a header text other than the kernel's
//                                                     (KernelReader::isKernelUri), at 0, before
//                                                     anything is sent
//   "Unsupported kernel version."                     a version other than 3, 1, 1, 3, at the
//                                                     offset of the version entity; the NC stream
//                                                     has had onOpen for the header and the
//                                                     refusal as an error parameter by then
//                                                     (when it refuses that parameter, import
//                                                     returns false instead)
//   "The kernel stream ends without its end entity."  at the end of the input, after every
//                                                     event of the stream was sent (onClose is
//                                                     not)
// and whatever KernelReader throws for a stream it cannot read. The facts about the kernel
// process that the binder counted instead of sending are kept from the last import.
class QUARN_NC_EXPORT KernelNCReader final : public NCReader {
public:
    KernelNCReader() = default;
    ~KernelNCReader() override;

    // NamespaceBaseA + "/namespace/nc/format/camkernel-stream".
    std::wstring getUri() const override;

    using NCReader::import;
    bool import(InputStream* stream) override;

    // True when the file starts with a kernel stream header (under either namespace base, in
    // UCS-2 or UCS-4) and the version 3, 1, 1, 3; never throws.
    bool isValid(std::wstring const& fileName) override;
    // A kernel stream records a toolpath before post-processing.
    bool isIntermediateFormat() const override;

    // What the last import counted instead of sending (see ToolpathNCStreamBinder).
    std::uint64_t getNotCarried(ToolpathNCStreamBinder::ProcessFact kind) const noexcept
    {
        return notCarried[static_cast<std::size_t>(kind)];
    }
    std::uint64_t getNotCarriedTotal() const noexcept;

private:
    std::array<std::uint64_t, ToolpathNCStreamBinder::ProcessFactCount> notCarried {};
};

} // namespace Quarn
