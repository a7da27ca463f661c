// LinuxCNC's rs274 interpreter as a test oracle: finding and running it, and replaying the
// canonical machine calls it prints into motions.
#pragma once

#include "util/utility/math/Vector3D.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quarn::TestSupport {

// What rs274 made the machine do, one motion per call that moves, dwells or changes the tool.
// Positions are as rs274 prints them: the control's coordinates (work and G92 offsets applied) in
// the unit of the last USE_LENGTH_UNITS.
struct Motion {
    enum Kind { Traverse, Feed, Arc, Dwell, Tool, Other } kind;
    std::string call; // the line rs274 printed
    bool inches = false;
    Vector3D start {}, end {};
    std::array<double, 3> abc {};
    double feed = 0.0;
    // Arcs: the centre (at the start's height along the plane's axis), the plane's axis (0 X for
    // YZ, 1 Y for XZ, 2 Z for XY) and the signed rotation.
    Vector3D centre {};
    int axis = 2;
    int rotation = 0;
    double time = 0.0;
    long long tool = 0;
};

// One canonical call: "   25 N..... ARC_FEED(10.0000, 0.0000, ...)".
struct Call {
    std::string name;
    std::vector<double> numbers;
    std::vector<std::string> words; // arguments that are not numbers
};

// The call of a line of rs274's output; nothing for a line that holds none.
std::optional<Call> parseCall(std::string_view line);

// Replays the calls that move the tool, change the feed, dwell or change the tool. rs274 starts at
// the origin in millimetres. STRAIGHT_PROBE, RIGID_TAP, NURBS_FEED and SPLINE_FEED are Other
// motions, which do not move the replayed position.
std::vector<Motion> replay(std::string const& output);

// The rs274 program on PATH, else /usr/bin/rs274; nothing when neither is there.
std::optional<std::filesystem::path> findInterpreter();

// Writes a tool table that gives each tool number zero length and diameter (pockets from 1), so
// that G43 and cutter compensation leave positions as programmed.
void writeToolTable(std::filesystem::path const& file, std::vector<unsigned int> const& numbers);

// The whole file as bytes; empty when it cannot be read.
std::string readWholeFile(std::filesystem::path const& file);

// One run of `rs274 -t tools -g program`.
struct RS274Run {
    int status = -1; // the exit status; 124 when the timeout ended it, 128 + n for a signal n
    std::string canon; // its standard output: the canonical calls
    std::string errors; // its error stream

    bool timedOut() const noexcept { return status == 124; }
    // rs274 writes "executing" to its error stream before it runs anything; an interpreter error
    // adds the message and the offending line and exits with status 1. It crashes now and then on
    // programs it cannot run (a bus error: status 135). A run succeeded when it exited with 0 and
    // its error stream holds nothing but "executing" lines.
    bool succeeded() const noexcept;
    // The error stream without its "executing" lines, on one line.
    std::string problem() const;
};

// Runs the interpreter on program with the tool table, in directory (created if missing), with
// standard input from /dev/null, killed after timeoutSeconds. The output goes to output and
// errors, which are read back into the result. rs274 keeps its tool data in $HOME/.tool.mmap,
// which it truncates and maps: runs sharing a home directory at the same time corrupt each
// other's tool table (a tool "not found", or a bus error), so HOME is set to directory. Give every
// run that may overlap another a directory of its own.
RS274Run runInterpreter(std::filesystem::path const& interpreter, std::filesystem::path const& program,
    std::filesystem::path const& tools, std::filesystem::path const& directory, std::filesystem::path const& output,
    std::filesystem::path const& errors, int timeoutSeconds = 60);

} // namespace Quarn::TestSupport
