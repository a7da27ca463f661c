// Reader of RS274NGC G-code programs: runs the program's language and replays what it makes the
// machine do as events.
#pragma once

#include "nc/nc/NCReader.h"
#include "nc/nc/NCUnit.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Quarn {

// Reads a program block by block, as the control runs it, and sends what each block makes the
// machine do. The full description of what is read and sent is in GCodeReader.cpp's header
// comment block (kept beside the code that does it); in short:
//   onOpen; a section per program, and a new one when the tool changes (M6, M61) or the context
//   changes before a move (G20/G21, G54 to G59.3, G92 and G10 offsets, G93/G94/G95): onContext,
//   onTool, onSection, ..., onSectionEnd; onClose at M2, M30 or the closing "%".
//   Moves in the coordinates the program writes in (the work system; the context's origin holds
//   the active work offset and G92 offset as the program set them, so origin + p is where the
//   control moves): G0 onRapid, G1 onLinear, G2/G3 arcs and helices, G4 onDwell, canned cycles as
//   groups of their expanded moves (GCodeCannedCycle) with the cycle's values.
//
// Unsupported input (a word or code the dialect does not know or this reader does not run, a
// subroutine in another file) is an NCParseException naming the line, the word and why; the events
// before it have been sent. Loops and calls are bounded (MaximumLoopIterations,
// MaximumCallDepth), so no program hangs the reader.
class QUARN_NC_EXPORT GCodeReader final : public NCReader {
public:
    // Bytes of a line besides its end.
    static constexpr std::size_t MaximumLineLength = 65536;
    // Iterations of all loops of one run together; one more is an error.
    static constexpr std::uint64_t DefaultMaximumLoopIterations = 10'000'000;
    // Subroutine calls open at once.
    static constexpr std::size_t MaximumCallDepth = 100;
    // Bytes of program text held for loops and subroutines at once.
    static constexpr std::size_t MaximumHeldText = 64u << 20;

    // Passes comments on; millimetres until the program says G20; block delete off.
    GCodeReader();
    ~GCodeReader() override;
    GCodeReader(GCodeReader const&) = default;
    GCodeReader& operator=(GCodeReader const&) = default;

    // NamespaceBaseA + "/namespace/nc/format/gcode-rs274ngc".
    std::wstring getUri() const override;

    using NCReader::import;
    bool import(SequentialLineReader& reader) override;
    bool import(LineReader* reader) override;
    bool import(InputStream* stream) override;

    // Whether the file's first blocks are G-code (isGCode); false for a file that cannot be read.
    bool isValid(std::wstring const& fileName) override;
    // Whether text (the start of a file) reads as G-code: its first non-blank, non-comment lines
    // are "%", O-word lines or blocks of words that start with a G, M, N, T, F, S, X, Y, Z or a
    // parameter, with no byte that a text does not hold.
    static bool isGCode(std::string_view start) noexcept;

    // The unit of a program that does not say G20 or G21 before its first move.
    void setUnit(NCUnit::Unit value) noexcept { unit = value; }
    NCUnit::Unit getUnit() const noexcept { return unit; }
    // Block delete: with it on, blocks starting with "/" are skipped; off, they are run.
    void setBlockDelete(bool value) noexcept { blockDelete = value; }
    bool getBlockDelete() const noexcept { return blockDelete; }
    void setMaximumLoopIterations(std::uint64_t value) noexcept { maximumLoopIterations = value; }
    std::uint64_t getMaximumLoopIterations() const noexcept { return maximumLoopIterations; }

    // NamespaceBaseA + "/namespace/nc/parameter/gcode/" + shortName.
    static std::string getParameterName(std::string_view shortName);

private:
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    bool blockDelete = false;
    std::uint64_t maximumLoopIterations = DefaultMaximumLoopIterations;
};

} // namespace Quarn
