// Reading kernel toolpath stream files into NC streams.
#include "nc/nc/kernelstream/KernelNCReader.h"

#include "nc/nc/NCStream.h"
#include "nc/nc/kernelstream/KernelOutputStream.h"
#include "nc/nc/kernelstream/KernelReader.h"
#include "util/utility/IOException.h"
#include "util/utility/io/BufferedInputStream.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/text/Unicode.h"

#include <numeric>

namespace Quarn {

namespace {

using Out = KernelOutputStream;

// The field code and the four numbers of the version entity.
constexpr std::uint64_t VersionEntitySize = 5 * 4;
// isValid reads only the header; a longer header text is none of the kernel's.
constexpr std::size_t HeaderBufferSize = 4096;
constexpr std::uint32_t LongestHeader = 256;

// The header text after its field code, in either character width: UCS-4 when it starts with
// "h" as a 4-byte code point.
std::wstring readHeaderText(BufferedInputStream& in)
{
    std::uint32_t const length = in.readUInt32();
    if (length < 2 || length > LongestHeader)
        return {};
    std::uint16_t const first = in.readUInt16();
    std::uint16_t const second = in.readUInt16();
    if (first == 'h' && second == 0) {
        std::wstring text(1, L'h');
        for (std::uint32_t i = 1; i < length; ++i)
            text += static_cast<wchar_t>(in.readUInt32());
        return text;
    }
    std::u16string units {static_cast<char16_t>(first), static_cast<char16_t>(second)};
    for (std::uint32_t i = 2; i < length; ++i)
        units += static_cast<char16_t>(in.readUInt16());
    return Unicode::fromUTF16(units);
}

// The binder, refusing a stream whose header text is none of the kernel's.
class HeaderCheckingBinder final : public ToolpathNCStreamBinder {
public:
    using ToolpathNCStreamBinder::ToolpathNCStreamBinder;

    bool onHeader(wchar_t const* text) override
    {
        foreign = !KernelReader::isKernelUri(text != nullptr ? text : L"");
        return !foreign && ToolpathNCStreamBinder::onHeader(text);
    }

    bool isForeign() const noexcept { return foreign; }

private:
    bool foreign = false;
};

} // namespace

KernelNCReader::~KernelNCReader() = default;

std::wstring KernelNCReader::getUri() const
{
    return Unicode::fromUTF8(NCStream::NamespaceBaseA) + L"/namespace/nc/format/camkernel-stream";
}

bool KernelNCReader::isIntermediateFormat() const { return true; }

std::uint64_t KernelNCReader::getNotCarriedTotal() const noexcept
{
    return std::accumulate(notCarried.begin(), notCarried.end(), std::uint64_t {0});
}

bool KernelNCReader::isValid(std::wstring const& fileName)
{
    try {
        FileInputStream file(fileName);
        BufferedInputStream in(&file, HeaderBufferSize);
        if (in.readUInt32() != Out::FIELD_HEADER || !KernelReader::isKernelUri(readHeaderText(in))
            || in.readUInt32() != Out::FIELD_VERSION)
            return false;
        for (std::uint32_t number : Out::Version)
            if (in.readUInt32() != number)
                return false;
        return true;
    } catch (...) {
        return false;
    }
}

bool KernelNCReader::import(InputStream* stream)
{
    HeaderCheckingBinder binder(&*SafePointer<NCStream>(getNCStream()));
    binder.setAbortable(getAbortable());
    // The counts of the last import, however it ends.
    struct KeepCounts {
        KernelNCReader& reader;
        ToolpathNCStreamBinder const& binder;
        ~KeepCounts()
        {
            for (std::size_t i = 0; i < reader.notCarried.size(); ++i)
                reader.notCarried[i] = binder.getNotCarried(static_cast<ToolpathNCStreamBinder::ProcessFact>(i));
        }
    } keep {*this, binder};

    KernelReader reader(&binder);
    reader.open(stream);
    bool const completed = reader.read();
    std::uint64_t const end = reader.getTotalBytesRead();
    reader.close();
    if (binder.isForeign())
        throw IOException(L"Not a CAM kernel stream.", 0);
    if (!completed) {
        // The reader's own refusal of the version is the one false that is not the binder's; the
        // reader stops right behind the version entity.
        if (binder.isStopped())
            return false;
        throw IOException(L"Unsupported kernel version.", end - VersionEntitySize);
    }
    if (!reader.hasEndedNormally())
        throw IOException(L"The kernel stream ends without its end entity.", end);
    return true;
}

} // namespace Quarn
