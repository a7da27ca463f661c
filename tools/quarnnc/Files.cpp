// Input detection, replay and output files of the tool.
#include "tools/quarnnc/Files.h"

#include "tools/quarnnc/FormatRegistry.h"
#include "tools/quarnnc/ProgressInputStream.h"
#include "tools/quarnnc/ToolError.h"

#include "util/utility/IOException.h"
#include "util/utility/ParseException.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/text/Unicode.h"

#include <cstdio>
#include <filesystem>
#include <utility>

namespace Quarn::Tool {

namespace {

std::string narrow(std::wstring const& text) { return Unicode::toUTF8(text); }

} // namespace

Format const& detectInput(std::string const& path)
{
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw ToolError(ExitNoInput, path, "No such file.");
    if (std::filesystem::is_directory(path, error))
        throw ToolError(ExitNoInput, path, "Is a directory.");
    try {
        FileInputStream probe(Unicode::fromUTF8(path));
    } catch (IOException const&) {
        throw ToolError(ExitNoInput, path, "Cannot open the file for reading.");
    }
    std::wstring const wide = Unicode::fromUTF8(path);
    if (Format const* format = FormatRegistry::detect(wide))
        return *format;
    for (Format const* format : FormatRegistry::all())
        if (format->namesForeign != nullptr)
            if (std::string sentence = format->namesForeign(wide); !sentence.empty())
                throw ToolError(ExitDataError, path, std::move(sentence));
    throw ToolError(ExitDataError, path, "Not an NC program in a format this tool reads.");
}

bool readsFileLineNumbers(Format const& format)
{
    if (format.configureReader == nullptr)
        return false;
    ReaderOptions options;
    options.fileLineNumbers = true;
    auto reader = format.makeReader();
    format.configureReader(*reader, options);
    return reader->getPassThroughLineNumbers();
}

bool replay(Format const& format, std::string const& path, NCStream& chain, RunOptions const& options)
{
    auto reader = format.makeReader();
    if (format.configureReader != nullptr)
        format.configureReader(*reader, options.reader);
    reader->setNCStream(&chain);
    try {
        FileInputStream file(Unicode::fromUTF8(path));
        ProgressInputStream progress(file, !options.quiet && ProgressInputStream::isTerminal());
        bool const completed = reader->import(&progress);
        progress.finish();
        if (format.readerLeftOut != nullptr)
            if (std::string const sentence = format.readerLeftOut(*reader); !sentence.empty())
                std::fprintf(stderr, "quarnnc: %s: %s\n", path.c_str(), sentence.c_str());
        return completed;
    } catch (IOException const& e) {
        throw ToolError(ExitDataError, path, narrow(e.getMessage()), e.getOffset());
    } catch (ParseException const& e) {
        std::optional<std::uint64_t> line;
        if (e.getLine())
            line = *e.getLine();
        throw ToolError(ExitDataError, path, narrow(e.getMessage()), line, ToolError::Position::Line);
    }
}

OutputFile::OutputFile(std::string path) : path(std::move(path))
{
    try {
        file = std::make_unique<FileOutputStream>(Unicode::fromUTF8(this->path));
    } catch (IOException const&) {
        throw ToolError(ExitCannotCreate, this->path, "Cannot create the file.");
    }
    behind = std::make_unique<WriteBehindOutputStream>(file.get());
}

OutputFile::~OutputFile() = default;

void OutputFile::write(void const* data, std::size_t size)
{
    try {
        behind->write(data, size);
    } catch (IOException const&) {
        throw ToolError(ExitIOError, path, "Cannot write the file.");
    }
}

void OutputFile::flush()
{
    try {
        behind->flush();
    } catch (IOException const&) {
        throw ToolError(ExitIOError, path, "Cannot write the file.");
    }
}

void OutputFile::close()
{
    try {
        behind->close();
    } catch (IOException const&) {
        throw ToolError(ExitIOError, path, "Cannot write the file.");
    }
}

bool OutputFile::isOpen() const { return behind->isOpen(); }

Format const& chooseOutputFormat(std::string const& to, std::string const& outputPath)
{
    if (!to.empty()) {
        if (Format const* format = FormatRegistry::findWriter(to))
            return *format;
        throw ToolError(
            ExitUsage, "", "Unknown output format '" + to + "'; use " + FormatRegistry::writerNames() + ".");
    }
    if (Format const* format = FormatRegistry::writerForPath(outputPath))
        return *format;
    throw ToolError(ExitUsage, "",
        "Cannot tell the output format from '" + outputPath + "'; use --to " + FormatRegistry::writerNames() + ".");
}

} // namespace Quarn::Tool
