// JSONOutputStream against RapidJSON's Writer<StringBuffer> on 2 million moves, after checking both write equal values.
#include "nc/nc/kernelstream/JSONOutputStream.h"
#include "util/utility/io/OutputStream.h"

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <map>
#include <string>
#include <string_view>
#include <vector>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 2'000'000;
// Both writers hand their bytes to the sink in blocks of this size.
constexpr std::size_t BlockSize = BufferedOutputStream::DefaultBufferSize;

// Counts the bytes, or keeps them when asked to; tells whether it was closed.
class ByteSink final : public OutputStream {
public:
    explicit ByteSink(bool keeping = false) : keeping(keeping) { }

    void write(void const* data, std::size_t size) override
    {
        count += size;
        if (keeping)
            bytes.append(static_cast<char const*>(data), size);
    }
    void close() override { open = false; }
    bool isOpen() const override { return open; }

    std::uint64_t count = 0;
    std::string bytes;

private:
    bool keeping;
    bool open = true;
};

constexpr std::string_view MovementNames[NCStream::MOVEMENT_COUNT] = {"rapid", "lead in", "cut", "lead out",
    "transition", "direct", "ramp", "ramp", "ramp", "ramp", "plunge", "ramp", "extended", "reduced", "finish cut", "",
    "deposition", "connection", "drill breakthrough", "gun drill positioning", "guided lead", "guided rapid"};

// The movement lines of JSONOutputStream through RapidJSON's writer: a StringBuffer that goes to
// the sink whenever it holds a block.
class RapidJSONLines {
public:
    explicit RapidJSONLines(OutputStream* sink) : sink(sink), writer(buffer) { }

    void writeLine(Vector3D const& position, NCStream::Movement movement)
    {
        begin("l");
        vector("e", position);
        finish(movement);
    }
    void writeLine(Vector3D const& position, Vector3D const& axis, NCStream::Movement movement)
    {
        begin("m");
        vector("e", position);
        vector("z", axis);
        finish(movement);
    }
    void writeArc(Vector3D const& end, Vector3D const& center, Vector3D const& normal, NCStream::Movement movement)
    {
        begin("a");
        vector("e", end);
        vector("c", center);
        vector("n", normal);
        finish(movement);
    }
    void flushStream()
    {
        sink->write(buffer.GetString(), buffer.GetSize());
        buffer.Clear();
    }

private:
    void begin(char const* kind)
    {
        writer.Reset(buffer);
        writer.StartObject();
        writer.Key(kind, 1);
        writer.StartObject();
    }
    void vector(char const* key, Vector3D const& v)
    {
        writer.Key(key, 1);
        writer.StartArray();
        writer.Double(v.x);
        writer.Double(v.y);
        writer.Double(v.z);
        writer.EndArray();
    }
    void finish(NCStream::Movement movement)
    {
        writer.Key("m", 1);
        std::string_view const name = MovementNames[movement];
        writer.String(name.data(), static_cast<rapidjson::SizeType>(name.size()));
        writer.EndObject();
        writer.EndObject();
        buffer.Put('\n');
        if (buffer.GetSize() >= BlockSize)
            flushStream();
    }

    OutputStream* sink;
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer;
};

// Milling passes of 100 moves over rows of 4096 points as CompactNCIBench makes them: a rapid
// approach and retract, straight cuts, arcs and five-axis moves with full-precision tool axes.
// Points and axes come from tables, so that making up the moves costs little beside the writing.
struct Program {
    std::array<Vector3D, 64> directions;
    std::vector<Vector3D> row = std::vector<Vector3D>(4096);

    Program()
    {
        for (std::size_t i = 0; i < directions.size(); ++i) {
            double const angle = 0.01 * static_cast<double>(i);
            directions[i] = {std::sin(angle), 0.0, std::cos(angle)};
        }
        for (std::size_t step = 0; step < row.size(); ++step)
            row[step] = {0.25 * static_cast<double>(step), 0.0, -0.5 - 0.001 * static_cast<double>(step)};
    }

    template <class Writer> void send(Writer& writer, std::int64_t first, std::int64_t last) const
    {
        Vector3D const z(0, 0, 1);
        for (std::int64_t i = first; i < last; ++i) {
            Vector3D at = row[static_cast<std::size_t>(i & 0xFFF)];
            at.y = static_cast<double>((i >> 12) & 0xFF);
            int const phase = static_cast<int>(i % 100);
            if (phase == 0 || phase == 99)
                writer.writeLine({at.x, at.y, 10.0}, NCStream::MOVEMENT_RAPID);
            else if (phase < 70)
                writer.writeLine(at, NCStream::MOVEMENT_CUTTING);
            else if (phase < 86)
                writer.writeArc(at, {at.x - 1.0, at.y, at.z}, (phase & 1) != 0 ? -z : z, NCStream::MOVEMENT_CUTTING);
            else
                writer.writeLine(at, directions[static_cast<std::size_t>(i & 63)], NCStream::MOVEMENT_FINISH_CUTTING);
        }
    }
};

Program const program;

// Same kind and value; numbers compare as doubles, so "1200" equals "1200.0".
bool sameValue(rapidjson::Value const& a, rapidjson::Value const& b)
{
    if (a.IsNumber() || b.IsNumber())
        return a.IsNumber() && b.IsNumber() && a.GetDouble() == b.GetDouble();
    if (a.GetType() != b.GetType())
        return false;
    if (a.IsString())
        return std::string_view(a.GetString(), a.GetStringLength()) == std::string_view(b.GetString(), b.GetStringLength());
    if (a.IsArray()) {
        if (a.Size() != b.Size())
            return false;
        for (rapidjson::SizeType i = 0; i < a.Size(); ++i)
            if (!sameValue(a[i], b[i]))
                return false;
        return true;
    }
    if (a.IsObject()) {
        if (a.MemberCount() != b.MemberCount())
            return false;
        for (auto x = a.MemberBegin(), y = b.MemberBegin(); x != a.MemberEnd(); ++x, ++y)
            if (!sameValue(x->name, y->name) || !sameValue(x->value, y->value))
                return false;
        return true;
    }
    return true; // true, false, null
}

// Compares the lines of both texts; false at the first that differs or does not parse.
bool sameLines(std::string const& ours, std::string const& theirs, std::int64_t& lines)
{
    std::size_t at = 0, theirsAt = 0;
    while (at < ours.size() && theirsAt < theirs.size()) {
        std::size_t const end = ours.find('\n', at), theirsEnd = theirs.find('\n', theirsAt);
        if (end == std::string::npos || theirsEnd == std::string::npos)
            return false;
        rapidjson::Document a, b;
        a.Parse<rapidjson::kParseFullPrecisionFlag>(ours.data() + at, end - at);
        b.Parse<rapidjson::kParseFullPrecisionFlag>(theirs.data() + theirsAt, theirsEnd - theirsAt);
        if (a.HasParseError() || b.HasParseError() || !sameValue(a, b)) {
            std::printf("Line %lld differs:\n  %s\n  %s\n", static_cast<long long>(lines + 1),
                ours.substr(at, end - at).c_str(), theirs.substr(theirsAt, theirsEnd - theirsAt).c_str());
            return false;
        }
        ++lines;
        at = end + 1;
        theirsAt = theirsEnd + 1;
    }
    return at == ours.size() && theirsAt == theirs.size();
}

// Writes the program through both writers, a batch of moves at a time, and compares the lines.
bool outputsAreEqual()
{
    constexpr std::int64_t Batch = 100'000;
    ByteSink ours(true), theirs(true);
    JSONOutputStream json(&ours);
    RapidJSONLines reference(&theirs);
    std::int64_t lines = 0;
    std::uint64_t ourBytes = 0, theirBytes = 0;
    bool equal = true;
    for (std::int64_t first = 0; equal && first < Moves; first += Batch) {
        program.send(json, first, std::min(first + Batch, Moves));
        program.send(reference, first, std::min(first + Batch, Moves));
        json.flushStream();
        reference.flushStream();
        equal = sameLines(ours.bytes, theirs.bytes, lines);
        ourBytes += ours.bytes.size();
        theirBytes += theirs.bytes.size();
        ours.bytes.clear();
        theirs.bytes.clear();
    }
    json.closeStream();
    std::printf("Lines of %lld moves: JSONOutputStream %llu bytes, RapidJSON %llu bytes, %s\n",
        static_cast<long long>(Moves), static_cast<unsigned long long>(ourBytes),
        static_cast<unsigned long long>(theirBytes), equal && lines == Moves ? "equal in value" : "DIFFERENT");
    return equal && lines == Moves;
}

// Best lines per processor second of each writer, so that other work on a busy machine does not
// decide a ratio.
std::map<std::string, double> bestRates;

double sendJSONOutputStream()
{
    ByteSink sink;
    std::clock_t const start = std::clock();
    JSONOutputStream json(&sink);
    program.send(json, 0, Moves);
    json.closeStream();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double sendRapidJSON()
{
    ByteSink sink;
    std::clock_t const start = std::clock();
    RapidJSONLines writer(&sink);
    program.send(writer, 0, Moves);
    writer.flushStream();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Runs the writer once per iteration and records its best rate; the time of an iteration is the
// writer's.
template <class Send> double measure(benchmark::State& state, char const* name, Send send)
{
    double best = 1e30;
    for (auto _ : state) {
        double const seconds = send();
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    double const rate = static_cast<double>(Moves) / best;
    state.counters["lines_per_s"] = rate;
    return bestRates[name] = rate;
}

void BM_RapidJSONWriter(benchmark::State& state) { measure(state, "RapidJSON", sendRapidJSON); }

// Counter "vs_rapidjson": JSONOutputStream's lines per second over RapidJSON's (2.5 is the aim).
// Each iteration also runs RapidJSON right after JSONOutputStream, untimed by the benchmark, so
// that the ratio compares best runs made under the same load.
void BM_JSONOutputStream(benchmark::State& state)
{
    double reference = 1e30;
    double const rate = measure(state, "JSONOutputStream", [&] {
        double const seconds = sendJSONOutputStream();
        reference = std::min(reference, sendRapidJSON());
        return seconds;
    });
    state.counters["vs_rapidjson"] = rate * reference / static_cast<double>(Moves);
}

} // namespace

BENCHMARK(BM_RapidJSONWriter)->Unit(benchmark::kMillisecond)->Iterations(5)->UseManualTime();
BENCHMARK(BM_JSONOutputStream)->Unit(benchmark::kMillisecond)->Iterations(8)->UseManualTime();

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (!outputsAreEqual())
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (bestRates.contains("JSONOutputStream") && bestRates.contains("RapidJSON"))
        std::printf("\nJSONOutputStream: %.1f million lines per second; RapidJSON's Writer: %.1f million\n",
            bestRates["JSONOutputStream"] / 1e6, bestRates["RapidJSON"] / 1e6);
    return 0;
}
