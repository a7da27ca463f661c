// The CAM system's ASCII NCI toolpath files: read only, in the length unit of --nci-unit, drill
// cycles as cycle groups or, with --expand-cycles, as the moves of each hole; each record's line
// as a line number when asked.
#include "tools/quarnnc/formats/FormatParts.h"

#include "nc/nc/io/MastercamNCIReader.h"
#include "util/utility/IOException.h"
#include "util/utility/io/FileInputStream.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

namespace Quarn::Tool::Formats {

namespace {

constexpr std::string_view extensions[] = {"nci"};

void configure(NCReader& reader, ReaderOptions const& options)
{
    auto& nci = static_cast<MastercamNCIReader&>(reader);
    nci.setExpandCycles(options.expandCycles);
    nci.setUnit(options.nciUnit);
    nci.setPassThroughLineNumbers(options.fileLineNumbers);
}

// The reader passes records it does not know on as parameters instead of stopping.
std::string unknownRecords(NCReader const& reader)
{
    std::uint64_t const count = static_cast<MastercamNCIReader const&>(reader).getUnknownRecordCount();
    if (count == 0)
        return {};
    return std::to_string(count)
        + (count == 1 ? " record of an unknown code was passed on as a parameter"
                      : " records of unknown codes were passed on as parameters");
}

// Drill files of circuit boards share the extension .nci and start with "M48" or "%". Only a
// file of that name is called one, as other programs start with "%" too.
std::string drillFile(std::wstring const& path)
{
    std::wstring extension = std::filesystem::path(path).extension().wstring();
    std::transform(extension.begin(), extension.end(), extension.begin(),
        [](wchar_t c) { return c < 0x80 ? static_cast<wchar_t>(std::tolower(static_cast<int>(c))) : c; });
    if (extension != L".nci")
        return {};
    char start[3] = {};
    std::size_t size = 0;
    try {
        FileInputStream file(path);
        while (size < sizeof start)
            if (std::size_t const got = file.read(start + size, sizeof start - size))
                size += got;
            else
                break;
    } catch (IOException const&) {
        return {};
    }
    std::string_view const text(start, size);
    if (text.starts_with('%') || text.starts_with("M48"))
        return "A circuit-board drill file, not an NC program.";
    return {};
}

} // namespace

extern constinit Format const mastercamNCI {
    .name = "mastercam-nci",
    .extensions = extensions,
    .recognises = recognisedBy<MastercamNCIReader>,
    .makeReader = makeReader<MastercamNCIReader>,
    .configureReader = configure,
    .namesForeign = drillFile,
    .readerLeftOut = unknownRecords,
};

} // namespace Quarn::Tool::Formats
