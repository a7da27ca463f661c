// NCI text of a generated mill program of 1 million moves: reading into a null sink against the same
// file parsed with fgets and sscanf, and the peak memory of a read.
#include "FileFormatBench.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/MastercamNCIReader.h"
#include "util/utility/io/FileInputStream.h"
#include "util/utility/io/FileOutputStream.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 1'000'000;
// Moves of one operation; each operation starts with a tool change record.
constexpr std::int64_t MovesPerOperation = 250'000;

// Text of an NCI file, written to the file in blocks: values separated by blanks, lines ended by
// CR LF, numbers spelled as the CAM system spells them.
class NCIText {
public:
    explicit NCIText(std::filesystem::path const& path) : file(path.wstring())
    {
        text.reserve(Bench::BlockSize + 4096);
    }

    void code(unsigned int value)
    {
        integer(value);
        end();
    }
    void integer(long long value)
    {
        separate();
        char digits[24];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
    // The value rounded to 4, 5 or 6 decimals in turn, without trailing zeros but always with
    // its point ("-1."), and every other time without the zero before the point (".25").
    void real(double value)
    {
        separate();
        char digits[64];
        int const decimals = 4 + static_cast<int>(spelling % 3);
        char* last = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
        while (last[-1] == '0')
            --last;
        char const* const first = digits;
        char const* const zero = first + (digits[0] == '-');
        if (spelling++ % 2 == 1 && zero[0] == '0' && zero + 2 != last) {
            text.append(first, zero);
            text.append(zero + 1, static_cast<char const*>(last));
        } else {
            text.append(first, static_cast<char const*>(last));
        }
    }
    void word(std::string_view value)
    {
        separate();
        text += value;
    }
    void end()
    {
        text += "\r\n";
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
    void separate()
    {
        if (!lineStart)
            text += ' ';
        lineStart = false;
    }
    void flush()
    {
        file.write(text.data(), text.size());
        text.clear();
    }

    FileOutputStream file;
    std::string text;
    bool lineStart = true;
    unsigned int spelling = 0;
};

// The records that start an operation: comment, tool, planes, then the tool change itself with
// the feedrate of the moves that follow.
void writeOperation(NCIText& out, unsigned int change, unsigned int tool)
{
    out.code(1008);
    out.word("3D finishing");
    out.end();
    out.code(20001);
    out.word("6 mm ball end mill");
    out.end();
    out.code(1013);
    for (double value : {0.0, 6.0, 3.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0})
        out.real(value);
    out.end();
    for (unsigned int plane : {1014u, 1017u}) {
        out.code(plane);
        for (double value : {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0})
            out.real(value);
        out.end();
    }
    out.code(change);
    for (long long value : {0, 100, 2})
        out.integer(value);
    for (int i = 0; i < 3; ++i)
        out.integer(tool);
    out.integer(0);
    out.integer(5000);
    out.real(1200.0);
    out.integer(1);
    for (double value : {0.0, 0.0, 25.0, 0.0, 0.0, 100.0})
        out.real(value);
    out.integer(0);
    out.real(0.0);
    out.end();
}

// A mill program in passes of 100 moves on the points of MillingPattern: a rapid retract and a
// rapid approach, cuts along the row (the first starting the contour and the compensation with a
// feedrate, one more with a new feedrate, the rest "-1.": the last one), eight clockwise and eight
// counter-clockwise arcs in XY, four five-axis cuts, a cut that ends the contour.
void writeProgram(std::filesystem::path const& path)
{
    Bench::MillingPattern const pattern;
    NCIText out(path);
    out.code(MastercamNCIReader::HeaderCode);
    out.word("27 0 3 14 2025 9 41 12 part-001.nc");
    out.end();
    Vector3D at;
    auto const straight = [&](unsigned int code, unsigned int compensation, Vector3D const& end, double feedrate,
                              unsigned int contour) {
        out.code(code);
        out.integer(compensation);
        out.real(end.x), out.real(end.y), out.real(end.z), out.real(feedrate);
        out.integer(contour);
        out.end();
        at = end;
    };
    int phase = 0;
    for (std::int64_t i = 0; i < Moves; ++i) {
        if (i % MovesPerOperation == 0) {
            unsigned int const operation = static_cast<unsigned int>(i / MovesPerOperation);
            writeOperation(out, i == 0 ? 1001 : operation == 2 ? 1002 : 1000, operation < 2 ? 1 : 2);
        }
        // A slight wave on the pattern, so that most numbers need all their decimals.
        double const t = static_cast<double>(i);
        Vector3D const point = pattern.point(i)
            + Vector3D(0.0123457 * std::sin(0.37 * t), 0.0731 * std::cos(0.91 * t), 0.0041 * std::sin(0.13 * t));
        if (phase == 0 || phase == 99) {
            straight(0, 0, {at.x, at.y, 10.0}, -2.0, 0);
        } else if (phase == 1) {
            straight(0, 0, {point.x, point.y, 1.0}, -2.0, 0);
        } else if (phase < 78) {
            double const feedrate = phase == 2 ? 1200.0 : (phase == 40 ? 1000.0 : -1.0);
            straight(1, phase == 2 ? 41 : 0, point, feedrate, phase == 2 ? 1000 : 0);
        } else if (phase < 94) {
            // 0.4 radians about a centre half a unit along x from the start.
            bool const clockwise = phase < 86;
            double const angle = clockwise ? -0.4 : 0.4;
            Vector3D const centre(at.x + 0.5, at.y, at.z);
            double const dx = at.x - centre.x;
            double const dy = at.y - centre.y;
            Vector3D const end(centre.x + dx * std::cos(angle) - dy * std::sin(angle),
                centre.y + dx * std::sin(angle) + dy * std::cos(angle), at.z);
            out.code(clockwise ? 2 : 3);
            out.integer(0), out.integer(0);
            out.real(end.x), out.real(end.y), out.real(centre.x), out.real(centre.y), out.real(end.z);
            out.real(phase == 78 ? 900.0 : -1.0);
            out.integer(0), out.integer(0);
            out.end();
            at = end;
        } else if (phase < 98) {
            Vector3D const second = point + 2.0 * pattern.axis(i);
            out.code(11);
            out.real(point.x), out.real(point.y), out.real(point.z);
            out.real(second.x), out.real(second.y), out.real(second.z);
            out.real(phase == 94 ? 800.0 : -1.0);
            out.integer(0), out.integer(0);
            out.end();
            at = point;
        } else {
            straight(1, 40, point, -1.0, 100);
        }
        if (++phase == 100)
            phase = 0;
    }
    out.code(1003);
    out.real(0.0), out.real(0.0), out.real(0.0);
    out.end();
    out.close();
}

bool replay(std::filesystem::path const& path) { return Bench::replayIntoNullSink<MastercamNCIReader>(path); }

Bench::FileFormat const program("MastercamNCIBench", ".nci", writeProgram, replay);

// A move as both parses see it: its kind (the record code; 12 a five-axis rapid), end, feedrate
// (0 for rapids), arc centre, and tool axis of five-axis moves.
struct Move {
    int kind = 0;
    Vector3D end;
    double feedrate = 0.0;
    Vector3D centre;
    Vector3D axis;
};

constexpr int FiveAxisRapid = 12;

// Collects the moves the reader sends.
class RecordingMoves final : public NCStreamDefaultImpl {
public:
    using NCStreamDefaultImpl::onLinear5D;
    using NCStreamDefaultImpl::onRapid5D;

    std::vector<Move> moves;

    bool onRapid(Vector3D const& end, unsigned int) override { return take({0, end, 0.0, {}, {}}); }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int) override
    {
        return take({1, end, feedrate, {}, {}});
    }
    bool onRapid5D(Vector3D const& end, Vector3D const& axis, unsigned int) override
    {
        return take({FiveAxisRapid, end, 0.0, {}, axis});
    }
    bool onLinear5D(Vector3D const& end, Vector3D const& axis, double feedrate, unsigned int) override
    {
        return take({11, end, feedrate, {}, axis});
    }
    bool onCWArc(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return take({2, e, f, c, {}});
    }
    bool onCCWArc(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return take({3, e, f, c, {}});
    }
    bool onCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return take({2, e, f, c, {}});
    }
    bool onCCWCircle(Vector3D const& c, Vector3D const& e, Vector3D const&, double f, unsigned int) override
    {
        return take({3, e, f, c, {}});
    }
    bool onCircular(
        Vector3D const& c, Vector3D const& e, Vector3D const&, double sweep, double f, unsigned int) override
    {
        return take({sweep < 0 ? 2 : 3, e, f, c, {}});
    }

private:
    bool take(Move const& move)
    {
        moves.push_back(move);
        return true;
    }
};

std::vector<Move> readMoves(std::filesystem::path const& path)
{
    FileInputStream file(path.wstring());
    RecordingMoves sink;
    MastercamNCIReader reader;
    reader.setNCStream(&sink);
    reader.import(&file);
    return std::move(sink.moves);
}

// The classic parse, as the baseline: fgets each line into a fixed buffer from a stdio stream with
// a block-sized buffer (fgets alone takes about a twentieth of the time), sscanf the record code,
// then sscanf the value line with its record's template. The templates' %g is read as %lg, since
// scanf's %g stores a float. Of what the reader makes of the values it does what this program
// needs: feedrates -1 (the last one) and -2 (a rapid), the tool change's feedrate, arc centres at
// the start's height, five-axis tool axes. take(Move) receives each move; false for a line that
// does not scan.
template <class Take> bool scanProgram(std::filesystem::path const& path, Take take)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    std::setvbuf(file, nullptr, _IOFBF, Bench::BlockSize);
    char line[4096];
    char values[4096];
    double feedrate = 0.0;
    Vector3D at;
    bool scanned = true;
    auto const feed = [&](double value) { return value == -1.0 ? feedrate : (feedrate = value); };
    while (scanned && std::fgets(line, sizeof line, file) != nullptr
        && std::fgets(values, sizeof values, file) != nullptr) {
        unsigned int code = 0;
        if (std::sscanf(line, "%u", &code) != 1)
            break;
        if (code <= 1) {
            unsigned int compensation = 0, contour = 0;
            double f = 0.0;
            Move move;
            scanned = std::sscanf(values, "%u %lg %lg %lg %lg %u", &compensation, &move.end.x, &move.end.y, &move.end.z,
                          &f, &contour)
                == 6;
            if (code == 1 && f != -2.0)
                move.kind = 1, move.feedrate = feed(f);
            at = move.end;
            take(move);
        } else if (code <= 3) {
            unsigned int plane = 0, compensation = 0, contour = 0, circle = 0;
            double f = 0.0;
            Move move;
            move.kind = static_cast<int>(code);
            scanned = std::sscanf(values, "%u %u %lg %lg %lg %lg %lg %lg %u %u", &plane, &compensation, &move.end.x,
                          &move.end.y, &move.centre.x, &move.centre.y, &move.end.z, &f, &contour, &circle)
                    == 10
                && plane == 0;
            move.centre.z = at.z;
            move.feedrate = feed(f);
            at = move.end;
            take(move);
        } else if (code == 11) {
            Vector3D second;
            double f = 0.0;
            unsigned int unknown = 0, contour = 0;
            Move move;
            scanned = std::sscanf(values, "%lg %lg %lg %lg %lg %lg %lg %u %u", &move.end.x, &move.end.y, &move.end.z,
                          &second.x, &second.y, &second.z, &f, &unknown, &contour)
                == 9;
            move.axis = (second - move.end).getNormalized();
            if (f == -2.0)
                move.kind = FiveAxisRapid;
            else
                move.kind = 11, move.feedrate = feed(f);
            at = move.end;
            take(move);
        } else if (code >= 1000 && code <= 1002) {
            unsigned int number[7], coolant, direction;
            int speed = 0;
            double f = 0.0, position[6], unknown = 0.0;
            scanned = std::sscanf(values, "%u %u %u %u %u %u %u %d %lg %u %lg %lg %lg %lg %lg %lg %u %lg", number,
                          number + 1, number + 2, number + 3, number + 4, number + 5, number + 6, &speed, &f, &coolant,
                          position, position + 1, position + 2, position + 3, position + 4, position + 5, &direction,
                          &unknown)
                == 18;
            feedrate = f;
        } else if (code == 1014 || code == 1017) {
            double m[9];
            scanned = std::sscanf(values, "%lg %lg %lg %lg %lg %lg %lg %lg %lg", m, m + 1, m + 2, m + 3, m + 4, m + 5,
                          m + 6, m + 7, m + 8)
                == 9;
        } else if (code == 1003) {
            double end[3];
            scanned = std::sscanf(values, "%lg %lg %lg", end, end + 1, end + 2) == 3;
            break;
        }
    }
    std::fclose(file);
    return scanned;
}

std::string text(Vector3D const& v)
{
    char buffer[100];
    std::snprintf(buffer, sizeof buffer, "(%.17g, %.17g, %.17g)", v.x, v.y, v.z);
    return buffer;
}

std::string text(Move const& move)
{
    char feedrate[40];
    std::snprintf(feedrate, sizeof feedrate, "%.17g", move.feedrate);
    return "kind " + std::to_string(move.kind) + " end " + text(move.end) + " feedrate " + feedrate + " centre "
        + text(move.centre) + " axis " + text(move.axis);
}

// Why the moves of the two parses differ, or nothing when they are the same: every number exactly,
// but tool axes, which either side may normalise in its own way, to 1e-12.
std::string difference(std::vector<Move> const& read, std::vector<Move> const& scanned)
{
    if (read.size() != scanned.size())
        return "the reader sends " + std::to_string(read.size()) + " moves, sscanf finds "
            + std::to_string(scanned.size());
    auto const near = [](Vector3D const& a, Vector3D const& b) {
        return std::abs(a.x - b.x) <= 1e-12 && std::abs(a.y - b.y) <= 1e-12 && std::abs(a.z - b.z) <= 1e-12;
    };
    for (std::size_t i = 0; i < read.size(); ++i) {
        Move const& a = read[i];
        Move const& b = scanned[i];
        if (a.kind != b.kind || !(a.end == b.end) || a.feedrate != b.feedrate || !(a.centre == b.centre)
            || !near(a.axis, b.axis))
            return "move " + std::to_string(i) + ": the reader sends " + text(a) + "; sscanf reads " + text(b);
    }
    return {};
}

// Each iteration times a read into a null sink and the sscanf parse of the same file; the
// iteration's time is the reader's. Before that, both parses must give the same moves.
void MastercamNCIReadVsSscanf(benchmark::State& state)
{
    if (!std::filesystem::exists(program.file))
        program.write();
    std::vector<Move> scanned;
    scanned.reserve(Moves);
    if (!scanProgram(program.file, [&](Move const& move) { scanned.push_back(move); })) {
        state.SkipWithError("sscanf cannot read the generated program");
        return;
    }
    std::string why;
    try {
        why = scanned.size() == Moves ? difference(readMoves(program.file), scanned)
                                      : "sscanf finds " + std::to_string(scanned.size()) + " moves";
    } catch (std::exception const& e) {
        why = std::string("the reader throws: ") + e.what();
    }
    if (!why.empty()) {
        why = "the reader and the sscanf parse disagree: " + why;
        std::fprintf(stderr, "%s\n", why.c_str());
        state.SkipWithError(why.c_str());
        return;
    }
    scanned = {};
    Bench::Pair times;
    for (auto _ : state) {
        Bench::Clock::time_point start = Bench::Clock::now();
        if (!replay(program.file))
            state.SkipWithError("the replay stopped");
        double const reader = Bench::secondsSince(start);
        start = Bench::Clock::now();
        double sum = 0.0;
        benchmark::DoNotOptimize(scanProgram(program.file, [&](Move const& move) { sum += move.end.x; }));
        benchmark::DoNotOptimize(sum);
        double const plain = Bench::secondsSince(start);
        state.SetIterationTime(reader);
        times.take(reader, plain);
    }
    state.SetItemsProcessed(Moves * state.iterations());
    state.counters["file_MB"] = static_cast<double>(program.size()) / 1e6;
    state.counters["reader_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestFormat / 1e6;
    state.counters["sscanf_Mmoves_per_s"] = static_cast<double>(Moves) / times.bestPlain / 1e6;
    state.counters["reader_vs_sscanf_x"] = times.bestPlain / times.bestFormat;
}

void MastercamNCIReplayPeakMemory(benchmark::State& state) { program.replayPeakMemory(state); }

} // namespace

BENCHMARK(MastercamNCIReadVsSscanf)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(MastercamNCIReplayPeakMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) { return program.run(argc, argv); }
