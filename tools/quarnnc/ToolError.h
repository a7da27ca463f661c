// The tool's failures: a message, where it happened and the exit status it ends the tool with.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace Quarn::Tool {

// Exit statuses, as the BSD sysexits convention numbers them.
enum ExitStatus : int {
    ExitOk = 0,
    ExitWarnings = 1, // validate --strict: warnings only
    ExitDiffer = 1, // diff: the programs differ
    ExitErrors = 2, // validate: the program has errors
    ExitUsage = 64, // bad command line
    ExitDataError = 65, // malformed or foreign input
    ExitNoInput = 66, // the input file does not exist or cannot be read
    ExitCannotCreate = 73,
    ExitIOError = 74,
};

class ToolError : public std::runtime_error {
public:
    // What a position counts: the lines of a text, or the bytes of a file.
    enum class Position { Line, Offset };

    ToolError(ExitStatus status, std::string file, std::string message,
        std::optional<std::uint64_t> position = std::nullopt, Position kind = Position::Offset)
        : std::runtime_error(message), status(status), file(std::move(file)), position(position), kind(kind)
    {
    }

    ExitStatus getStatus() const noexcept { return status; }
    // The file the failure concerns; "" for one of the command line.
    std::string const& getFile() const noexcept { return file; }
    // Where in the file, if known, and whether it is a line or a byte offset.
    std::optional<std::uint64_t> getPosition() const noexcept { return position; }
    Position getPositionKind() const noexcept { return kind; }
    // "FILE:POSITION: message", "FILE: message" or the message alone.
    std::string describe() const
    {
        std::string text = file;
        if (position)
            text += ":" + std::to_string(*position);
        return (text.empty() ? "" : text + ": ") + what();
    }

private:
    ExitStatus status;
    std::string file;
    std::optional<std::uint64_t> position;
    Position kind;
};

} // namespace Quarn::Tool
