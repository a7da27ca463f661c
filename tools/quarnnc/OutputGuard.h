// Writing an output file: failures that name the file the user gave, and outputs that replace
// their input.
#pragma once

#include "tools/quarnnc/ToolError.h"

#include "nc/nc/NCStream.h"
#include "util/utility/IOException.h"
#include "util/utility/text/Unicode.h"

#include <filesystem>
#include <string>

namespace Quarn::Tool {

// Runs a step of the output (making the writer, an event, finishing) with its failures naming
// output, the file the user gave: a writer's IOException becomes ToolError 74, and a ToolError
// about written (the file a Replacement writes aside) names output instead.
template <class Step> auto guardOutput(std::string const& output, std::string const& written, Step const& step)
{
    try {
        return step();
    } catch (IOException const& e) {
        throw ToolError(ExitIOError, output, Unicode::toUTF8(e.getMessage()));
    } catch (ToolError const& e) {
        if (e.getFile() == written && written != output)
            throw ToolError(e.getStatus(), output, e.what());
        throw;
    }
}

// Stands in front of the writer so that its failures, which would otherwise travel back through
// the reader and pass for faults of the input, name the output instead (guardOutput).
class OutputErrors final : public NCStream {
public:
    OutputErrors(std::string const& output, std::string const& written, NCStream& writer)
        : output(output), written(written), writer(writer)
    {
    }

    using NCStream::onParameter;
#include "nc/nc/NCEventOverrides.inc"

private:
    std::string const& output;
    std::string const& written;
    NCStream& writer;
};

// The file an output that replaces its input is written to first: beside the input (so that the
// rename stays on one file system), hidden, and named after the process. The input is the file
// itself when its path is a symbolic link, so that the link stays a link.
class Replacement {
public:
    explicit Replacement(std::string const& output);
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;
    // A replacement that was not committed leaves the input as it was.
    ~Replacement();

    std::string path() const { return temporary.string(); }

    // Puts the complete output in the input's place, with the input's permissions; ToolError 74
    // naming output when it cannot.
    void commit(std::string const& output);

private:
    std::filesystem::path target;
    std::filesystem::path temporary;
    bool committed = false;
};

} // namespace Quarn::Tool
