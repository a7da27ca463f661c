// G-code of a generated mill program of 1 million moves: reading into a null sink against the same
// lines parsed with fgets and sscanf, and against LinuxCNC's interpreter (rs274 -g) on the same file
// where it is installed; and the peak memory of a read.
#include "FileFormatBench.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/GCodeReader.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"

#include <benchmark/benchmark.h>

#include <sys/wait.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 1'000'000;
constexpr char const* RS274 = "/usr/bin/rs274";

// Text of a G-code file, written to the file in blocks: words separated by blanks, lines ended by
// LF, numbers as a post-processor writes them: at most 3 decimals, trailing zeros and a bare point
// trimmed ("X12.345 Y-3.2 Z0.5 F1200").
class GCodeText {
public:
    explicit GCodeText(std::filesystem::path const& path) : file(path.wstring())
    {
        text.reserve(Bench::BlockSize + 4096);
    }

    void line(std::string_view value)
    {
        text += value;
        end();
    }
    void word(char letter, double value)
    {
        if (!lineStart)
            text += ' ';
        lineStart = false;
        text += letter;
        char digits[64];
        char* last = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 3).ptr;
        while (last[-1] == '0')
            --last;
        if (last[-1] == '.')
            --last;
        std::string_view number(digits, static_cast<std::size_t>(last - digits));
        text += number == "-0" ? "0" : number;
    }
    void end()
    {
        text += '\n';
        lineStart = true;
        if (text.size() >= Bench::BlockSize)
            flush();
    }
    void close()
    {
        flush();
        file.close();
    }

private:
    void flush()
    {
        file.write(text.data(), text.size());
        text.clear();
    }

    FileOutputStream file;
    std::string text;
    bool lineStart = true;
};

// Every coordinate rounded as the file writes it, so that the arcs are computed from the points
// the control reads.
double rounded(double value) { return std::round(value * 1000.0) / 1000.0; }

// A mill program in passes of 100 moves on the points of MillingPattern, every word on every line:
// a rapid approach above the first point, cuts along the row at two feedrates, a rapid retract;
// with arcs, 16 of the cuts are arcs in XY (8 clockwise, 8 counter-clockwise) of 0.4 radians about
// a centre half a unit along x from the start, by I and J. No move stays where it is, so that
// both parses count every line.
void writeProgram(std::filesystem::path const& path, bool arcs)
{
    Bench::MillingPattern const pattern;
    GCodeText out(path);
    for (char const* line : {"%", "(generated mill program for the G-code reader benchmark)",
             "G21 G90 G17 G94 G40 G49 G80 G91.1", "G54", "T1 M6", "G43 H1", "S5000 M3", "M8"})
        out.line(line);
    Vector3D at {0.0, 0.0, 20.0};
    int phase = 0;
    for (std::int64_t i = 0; i < Moves; ++i) {
        // A slight wave on the pattern, so that most numbers need all their decimals.
        double const t = static_cast<double>(i);
        Vector3D const point = pattern.point(i)
            + Vector3D(0.0123457 * std::sin(0.37 * t), 0.0731 * std::cos(0.91 * t), 0.0041 * std::sin(0.13 * t));
        Vector3D end {rounded(point.x), rounded(point.y), rounded(point.z)};
        if (phase == 0 || phase == 99) {
            end = phase == 0 ? Vector3D {end.x, end.y, 10.0} : Vector3D {at.x, at.y, 10.0};
            out.word('G', 0), out.word('X', end.x), out.word('Y', end.y), out.word('Z', end.z);
        } else if (arcs && phase >= 78 && phase < 94) {
            bool const clockwise = phase < 86;
            double const angle = clockwise ? -0.4 : 0.4;
            Vector3D const centre(at.x + 0.5, at.y, at.z);
            double const dx = at.x - centre.x;
            double const dy = at.y - centre.y;
            end = {rounded(centre.x + dx * std::cos(angle) - dy * std::sin(angle)),
                rounded(centre.y + dx * std::sin(angle) + dy * std::cos(angle)), at.z};
            out.word('G', clockwise ? 2 : 3), out.word('X', end.x), out.word('Y', end.y), out.word('Z', end.z);
            out.word('I', 0.5), out.word('J', 0), out.word('F', 900);
        } else {
            out.word('G', 1), out.word('X', end.x), out.word('Y', end.y), out.word('Z', end.z);
            out.word('F', phase < 50 ? 1200 : 1000);
        }
        out.end();
        at = end;
        if (++phase == 100)
            phase = 0;
    }
    for (char const* line : {"M9", "M5", "M30", "%"})
        out.line(line);
    out.close();
}

bool replay(std::filesystem::path const& path) { return Bench::replayIntoNullSink<GCodeReader>(path); }

Bench::FileFormat const program(
    "GCodeReaderBench", ".ngc", [](std::filesystem::path const& path) { writeProgram(path, true); }, replay);
Bench::FileFormat const plainProgram(
    "GCodeReaderBenchPlain", ".ngc", [](std::filesystem::path const& path) { writeProgram(path, false); }, replay);

// What both parses find: moves, and sums of their ends, feedrates and arc centres.
struct Sums {
    std::int64_t moves = 0;
    std::int64_t arcs = 0;
    double ends = 0.0;
    double feedrates = 0.0;
    double centres = 0.0;

    void move(Vector3D const& end, double feedrate)
    {
        ++moves;
        ends += end.x + end.y + end.z;
        feedrates += feedrate;
    }
    void arc(Vector3D const& centre, Vector3D const& end, double feedrate)
    {
        ++arcs;
        centres += centre.x + centre.y;
        move(end, feedrate);
    }
};

class SummingSink final : public NCStreamDefaultImpl {
public:
    Sums sums;

    bool onRapid(Vector3D const& end, unsigned int) override { return sums.move(end, 0.0), true; }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int) override
    {
        return sums.move(end, feedrate), true;
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return sums.arc(c, e, f), true;
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return sums.arc(c, e, f), true;
    }
};

Sums readSums(std::filesystem::path const& path)
{
    FileInputStream file(path.wstring());
    SummingSink sink;
    GCodeReader reader;
    reader.setNCStream(&sink);
    if (!reader.import(&file))
        throw std::runtime_error("the reader stopped");
    return sink.sums;
}

// The plain C parse, as the baseline: fgets each line into a fixed buffer from a stdio stream with
// a block-sized buffer, sscanf the motion word and the point, then the words of the motion (F for
// G1, I J F for G2 and G3). Lines that do not start with a motion word are the program's head and
// tail. Arc centres are the start plus I and J, as the words say in G91.1. False for a motion line
// that does not scan.
bool scanProgram(std::filesystem::path const& path, Sums& sums)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    std::setvbuf(file, nullptr, _IOFBF, Bench::BlockSize);
    char line[4096];
    bool scanned = true;
    Vector3D at;
    while (scanned && std::fgets(line, sizeof line, file) != nullptr) {
        int motion = 0;
        int used = 0;
        Vector3D end;
        if (line[0] != 'G' || std::sscanf(line, "G%d X%lf Y%lf Z%lf%n", &motion, &end.x, &end.y, &end.z, &used) != 4)
            continue;
        double feedrate = 0.0;
        if (motion == 0) {
            sums.move(end, 0.0);
        } else if (motion == 1) {
            scanned = std::sscanf(line + used, " F%lf", &feedrate) == 1;
            sums.move(end, feedrate);
        } else {
            double i = 0.0, j = 0.0;
            scanned = std::sscanf(line + used, " I%lf J%lf F%lf", &i, &j, &feedrate) == 3;
            sums.arc({at.x + i, at.y + j, at.z}, end, feedrate);
        }
        at = end;
    }
    std::fclose(file);
    return scanned;
}

// Why the reader's and the plain parse's sums differ; "" when they agree. Ends and feedrates are the
// numbers of the words and agree exactly; centres are computed, and agree within rounding.
std::string difference(Sums const& reader, Sums const& scanned)
{
    char text[400];
    if (reader.moves != scanned.moves || reader.arcs != scanned.arcs || reader.ends != scanned.ends
        || reader.feedrates != scanned.feedrates || std::abs(reader.centres - scanned.centres) > 1e-6) {
        std::snprintf(text, sizeof text,
            "moves %lld/%lld, arcs %lld/%lld, ends %.17g/%.17g, feedrates %.17g/%.17g, centres %.17g/%.17g",
            static_cast<long long>(reader.moves), static_cast<long long>(scanned.moves),
            static_cast<long long>(reader.arcs), static_cast<long long>(scanned.arcs), reader.ends, scanned.ends,
            reader.feedrates, scanned.feedrates, reader.centres, scanned.centres);
        return text;
    }
    return {};
}

// Reads the program with the reader and with sscanf, checks that both find the same, then times both.
void GCodeReadVsSscanf(benchmark::State& state)
{
    Bench::FileFormat const& file = state.range(0) == 0 ? plainProgram : program;
    if (!std::filesystem::exists(file.file))
        file.write();
    Sums scanned;
    if (!scanProgram(file.file, scanned)) {
        state.SkipWithError("sscanf cannot read the generated program");
        return;
    }
    std::string why;
    try {
        why = difference(readSums(file.file), scanned);
    } catch (std::exception const& e) {
        why = std::string("the reader throws: ") + e.what();
    }
    if (!why.empty()) {
        why = "the reader and the sscanf parse disagree (reader/sscanf): " + why;
        std::fprintf(stderr, "%s\n", why.c_str());
        state.SkipWithError(why.c_str());
        return;
    }
    Bench::Pair times;
    for (auto _ : state) {
        Bench::Clock::time_point start = Bench::Clock::now();
        if (!replay(file.file))
            state.SkipWithError("the replay stopped");
        double const reader = Bench::secondsSince(start);
        start = Bench::Clock::now();
        Sums sums;
        benchmark::DoNotOptimize(scanProgram(file.file, sums));
        benchmark::DoNotOptimize(sums);
        double const plain = Bench::secondsSince(start);
        state.SetIterationTime(reader);
        times.take(reader, plain);
    }
    state.SetLabel(state.range(0) == 0 ? "G0/G1 blocks" : "G0/G1 blocks and 16% arcs");
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["file_MB"] = static_cast<double>(file.size()) / 1e6;
    state.counters["reader_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestFormat / 1e6;
    state.counters["sscanf_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestPlain / 1e6;
    state.counters["reader_vs_sscanf_x"] = times.bestPlain / times.bestFormat;
}

// Seconds of wall time that `rs274 -g FILE` takes with its output thrown away; a negative number when
// it fails.
double timeRS274(std::filesystem::path const& path)
{
    std::string const command = std::string(RS274) + " -g '" + path.string() + "' >/dev/null 2>&1 </dev/null";
    Bench::Clock::time_point const start = Bench::Clock::now();
    int const status = std::system(command.c_str());
    double const seconds = Bench::secondsSince(start);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? seconds : -1.0;
}

// The reader against LinuxCNC's interpreter on the program with arcs, each run in full: best of the
// iterations for each.
void GCodeReadVsRS274(benchmark::State& state)
{
    if (!std::filesystem::exists(RS274)) {
        state.SkipWithError("skipped: rs274 (LinuxCNC's interpreter) is not installed");
        return;
    }
    if (!std::filesystem::exists(program.file))
        program.write();
    Bench::Pair times;
    for (auto _ : state) {
        Bench::Clock::time_point const start = Bench::Clock::now();
        if (!replay(program.file))
            state.SkipWithError("the replay stopped");
        double const reader = Bench::secondsSince(start);
        double const interpreter = timeRS274(program.file);
        if (interpreter < 0.0) {
            state.SkipWithError("rs274 fails on the generated program");
            return;
        }
        state.SetIterationTime(reader);
        times.take(reader, interpreter);
    }
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["reader_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestFormat / 1e6;
    state.counters["rs274_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestPlain / 1e6;
    state.counters["reader_vs_rs274_x"] = times.bestPlain / times.bestFormat;
}

void GCodeReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(GCodeReadVsSscanf)->Arg(0)->Arg(1)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(GCodeReadVsRS274)->Iterations(2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(GCodeReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    int const status = program.run(argc, argv);
    std::error_code ignored;
    std::filesystem::remove(plainProgram.file, ignored);
    std::filesystem::remove(plainProgram.plain, ignored);
    return status;
}
