// Opening the tool's input and output files, and replaying an input into a chain.
#pragma once

#include "tools/quarnnc/Format.h"

#include "nc/nc/NCUnit.h"

#include "util/utility/io/FileOutputStream.h"
#include "util/utility/io/WriteBehindOutputStream.h"

#include <memory>
#include <string>

namespace Quarn::Tool {

// How the tool sets up the reader of an input; each format applies what concerns it
// (Format::configureReader) and ignores the rest.
struct ReaderOptions {
    // Send drill cycles as the moves they make rather than as cycle groups.
    bool expandCycles = false;
    // The length unit of NCI files, which do not say theirs.
    NCUnit::Unit nciUnit = NCUnit::INCHES;
    // The length unit of a G-code program until it says G20 or G21.
    NCUnit::Unit gcodeUnit = NCUnit::MILLIMETERS;
    // Skip the G-code blocks that start with "/".
    bool blockDelete = false;
    // Send the file's line of every block or record as onLineNumber, in the text formats whose
    // reader can (NCReader::setPassThroughLineNumbers), instead of the numbers the program holds.
    bool fileLineNumbers = false;
};

struct RunOptions {
    bool quiet = false;
    ReaderOptions reader;
};

// The format of an existing input file; ToolError 66 when it is missing, 65 when no format
// recognises it (naming what the file is when a format can tell).
Format const& detectInput(std::string const& path);

// Whether the reader of the format sends the file's lines when ReaderOptions::fileLineNumbers
// asks for them.
bool readsFileLineNumbers(Format const& format);

// Reads the whole input into the chain through a reader set up by options.reader; false when the
// chain stopped the program. Malformed input ends in ToolError 65 with the position of the fault.
bool replay(Format const& format, std::string const& path, NCStream& chain, RunOptions const& options);

// An output file whose failures end the tool (73 cannot create, 74 cannot write). It is written
// on a thread of its own, behind the writer that fills it.
class OutputFile final : public OutputStream {
public:
    explicit OutputFile(std::string path);
    ~OutputFile() override;

    void write(void const* data, std::size_t size) override;
    void flush() override;
    void close() override;
    bool isOpen() const override;

private:
    std::string path;
    std::unique_ptr<FileOutputStream> file;
    std::unique_ptr<WriteBehindOutputStream> behind;
};

// The writable format chosen by --to, or else by the output's extension; ToolError 64 when
// neither names one.
Format const& chooseOutputFormat(std::string const& to, std::string const& outputPath);

} // namespace Quarn::Tool
