// The XML NC format: written only.
#include "tools/quarnnc/Files.h"
#include "tools/quarnnc/FormatRegistry.h"

#include "nc/nc/io/XMLNCWriter.h"

namespace Quarn::Tool {

namespace {

class XMLSink final : public OutputSink {
public:
    explicit XMLSink(std::string const& path) : file(path), writer(&file) { }
    NCStream& stream() override { return writer; }
    void finish() override { file.close(); }

private:
    OutputFile file;
    XMLNCWriter writer;
};

class XMLFormat final : public Format {
public:
    std::string getName() const override { return "xml"; }
    std::string getExtension() const override { return "xml"; }
    bool canWrite() const override { return true; }
    std::unique_ptr<OutputSink> makeWriter(std::string const& path, WriterOptions const&) const override
    {
        return std::make_unique<XMLSink>(path);
    }
};

} // namespace

Format const& xmlFormat()
{
    static XMLFormat const format;
    return format;
}

} // namespace Quarn::Tool
