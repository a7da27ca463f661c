// The compact NCI format: read and written.
#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/FormatRegistry.h"

#include "nc/nc/io/CompactNCIReader.h"
#include "nc/nc/io/CompactNCIWriter.h"

namespace Quarn::Tool {

namespace {

class CompactNCISink final : public OutputSink {
public:
    CompactNCISink(std::string const& path, WriterOptions const& options) : file(path), writer(&file)
    {
        writer.setMapToWCS(options.mapToWCS);
    }
    NCStream& stream() override { return writer; }
    void finish() override { file.close(); }

private:
    OutputFile file;
    CompactNCIWriter writer;
};

class CompactNCIFormat final : public Format {
public:
    std::string getName() const override { return "compact-nci"; }
    std::string getExtension() const override { return "nci"; }
    bool canRead() const override { return true; }
    bool recognises(std::wstring const& path) const override { return CompactNCIReader().isValid(path); }
    std::unique_ptr<NCReader> makeReader() const override { return std::make_unique<CompactNCIReader>(); }
    std::string getVersion(std::wstring const& path) const override
    {
        auto const version = CompactNCIReader().getVersion(path);
        return std::to_string(version.major) + "." + std::to_string(version.minor) + "."
            + std::to_string(version.build);
    }
    bool canWrite() const override { return true; }
    bool supportsMapToWCS() const override { return true; }
    std::unique_ptr<OutputSink> makeWriter(std::string const& path, WriterOptions const& options) const override
    {
        return std::make_unique<CompactNCISink>(path, options);
    }
};

} // namespace

Format const& compactNCIFormat()
{
    static CompactNCIFormat const format;
    return format;
}

} // namespace Quarn::Tool
