// XMLNCWriter against libxml2's xmlTextWriter writing the same elements for 10 million moves;
// before either is timed, the two documents must be byte for byte equal ("%g" numbers).
// LogNCStream logs the same program, and its bytes per second are compared with XMLNCWriter's.
#include "nc/nc/LogNCStream.h"
#include "nc/nc/NCStreamDefaultImpl.h"
#include "nc/nc/io/XMLNCWriter.h"
#include "util/utility/io/OutputStream.h"

#include <benchmark/benchmark.h>
#include <libxml/xmlwriter.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <map>
#include <string>

using namespace Quarn;

namespace {

constexpr std::int64_t Moves = 10'000'000;
constexpr std::int64_t Timestamp = 1'700'000'000;

// Counts the bytes; with hashing on, also folds them into an FNV-1a hash.
class ByteSink final : public OutputStream {
public:
    explicit ByteSink(bool hashing = false) : hashing(hashing) { }

    void write(void const* data, std::size_t size) override
    {
        count += size;
        if (!hashing)
            return;
        auto const* bytes = static_cast<unsigned char const*>(data);
        for (std::size_t i = 0; i < size; ++i)
            hash = (hash ^ bytes[i]) * 0x100000001B3u;
    }

    std::uint64_t count = 0;
    std::uint64_t hash = 0xCBF29CE484222325u;

private:
    bool hashing;
};

// The elements of XMLNCWriter for the events of the generated program, through xmlTextWriter.
class LibXml2Writer final : public NCStreamDefaultImpl {
public:
    explicit LibXml2Writer(OutputStream* sink)
    {
        xmlOutputBufferPtr buffer = xmlOutputBufferCreateIO(
            [](void* context, char const* bytes, int size) {
                static_cast<OutputStream*>(context)->write(bytes, static_cast<std::size_t>(size));
                return size;
            },
            nullptr, sink, nullptr);
        writer = xmlNewTextWriter(buffer);
        xmlTextWriterSetQuoteChar(writer, '\'');
    }
    ~LibXml2Writer() override { xmlFreeTextWriter(writer); }
    LibXml2Writer(LibXml2Writer const&) = delete;
    LibXml2Writer& operator=(LibXml2Writer const&) = delete;

    bool onOpen() override
    {
        raw("<?xml version='1.0' encoding='utf-8' standalone='yes'?>\n");
        xmlTextWriterStartElement(writer, BAD_CAST "nc");
        xmlTextWriterWriteAttribute(writer, BAD_CAST "xmlns", BAD_CAST "http://schema.quarn.dev/xml/2008/nc");
        xmlTextWriterWriteAttribute(writer, BAD_CAST "version", BAD_CAST "1.0");
        raw("\n");
        xmlTextWriterStartElement(writer, BAD_CAST "meta");
        raw("\n  ");
        xmlTextWriterStartElement(writer, BAD_CAST "date");
        xmlTextWriterWriteFormatAttribute(writer, BAD_CAST "timestamp", "%lld", static_cast<long long>(Timestamp));
        xmlTextWriterEndElement(writer);
        raw("\n");
        xmlTextWriterEndElement(writer);
        raw("\n");
        return true;
    }
    bool onSection() override
    {
        xmlTextWriterStartElement(writer, BAD_CAST "section");
        raw("\n");
        return true;
    }
    bool onSectionEnd() override
    {
        xmlTextWriterEndElement(writer);
        raw("\n");
        return true;
    }
    bool onClose() override
    {
        xmlTextWriterEndElement(writer);
        raw("\n");
        xmlTextWriterFlush(writer);
        return true;
    }

    bool onRapid(Vector3D const& end, unsigned int flags) override
    {
        xmlTextWriterStartElement(writer, BAD_CAST "rapid");
        vector("to", end);
        return endMotion(flags);
    }
    bool onLinear(Vector3D const& end, double feedrate, unsigned int flags) override
    {
        xmlTextWriterStartElement(writer, BAD_CAST "linear");
        vector("to", end);
        xmlTextWriterWriteFormatAttribute(writer, BAD_CAST "feed", "%g", feedrate);
        return endMotion(flags);
    }
    using NCStreamDefaultImpl::onLinear5D;
    bool onLinear5D(Vector3D const& end, Vector3D const& direction, double feedrate, unsigned int flags) override
    {
        xmlTextWriterStartElement(writer, BAD_CAST "linear5d");
        vector("to", end);
        vector("direction", direction);
        xmlTextWriterWriteFormatAttribute(writer, BAD_CAST "feed", "%g", feedrate);
        return endMotion(flags);
    }
    bool onCCWArc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate,
        unsigned int flags) override
    {
        xmlTextWriterStartElement(writer, BAD_CAST "arc-ccw");
        vector("to", end);
        vector("center", center);
        vector("normal", normal);
        xmlTextWriterWriteFormatAttribute(writer, BAD_CAST "feed", "%g", feedrate);
        return endMotion(flags);
    }

private:
    static double coordinate(double value) { return value > -1e-9 && value < 1e-9 ? 0.0 : value; }

    void raw(char const* text) { xmlTextWriterWriteRaw(writer, BAD_CAST text); }
    void vector(char const* name, Vector3D const& v)
    {
        xmlTextWriterWriteFormatAttribute(
            writer, BAD_CAST name, "%g %g %g", coordinate(v.x), coordinate(v.y), coordinate(v.z));
    }
    bool endMotion(unsigned int flags)
    {
        if (flags & FLAG_START_CUTTING)
            xmlTextWriterWriteAttribute(writer, BAD_CAST "start", BAD_CAST "yes");
        if (flags & FLAG_END_CUTTING)
            xmlTextWriterWriteAttribute(writer, BAD_CAST "end", BAD_CAST "yes");
        Compensation state = getRadiusCompensation(flags);
        if (state != compensation) {
            static char const* const Texts[] = {"off", "left", "right"};
            xmlTextWriterWriteAttribute(writer, BAD_CAST "compensation", BAD_CAST Texts[state]);
            compensation = state;
        }
        xmlTextWriterEndElement(writer);
        raw("\n");
        return true;
    }

    xmlTextWriterPtr writer;
    Compensation compensation = COMPENSATION_OFF;
};

// A pocket of circular passes stepping down, as a CAM system sends it: per round of eight
// moves a rapid, a plunge, four lines, an arc and a five-axis line, with compensation switched
// on and off around the passes and cut start and end marks. Coordinates are full doubles, some
// of them round-off noise around zero.
bool sendProgram(NCStream& stream, std::int64_t moves)
{
    unsigned int const cut = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
    Vector3D const normal(0, 0, 1);
    bool ok = stream.onOpen() && stream.onSection();
    for (std::int64_t round = 0; ok && round < moves / 8; ++round) {
        double angle = 0.0137 * static_cast<double>(round);
        double radius = 40.0 + 5.0 * std::sin(0.001 * static_cast<double>(round));
        double x = 50.0 + radius * std::cos(angle), y = 30.0 + radius * std::sin(angle);
        double z = -0.25 * static_cast<double>(round % 40);
        unsigned int side = round % 16 < 8 ? static_cast<unsigned int>(NCStream::FLAG_COMPENSATION_LEFT) : 0u;
        Vector3D tool(
            std::sin(angle) * 0.2, std::cos(angle) * 1e-12, std::sqrt(1.0 - 0.04 * std::sin(angle) * std::sin(angle)));
        ok = stream.onRapid({x, y, 5.0}, 0)
            && stream.onLinear({x, y, z}, 300.0, cut | side | NCStream::FLAG_START_CUTTING)
            && stream.onLinear({x + 1.5, y, z}, 1200.0, cut | side)
            && stream.onLinear({x + 1.5, y + 2.25, z}, 1200.0, cut | side)
            && stream.onLinear({x, y + 2.25, z - 1e-13}, 1200.0, cut | side)
            && stream.onLinear({x, y, z}, 1200.0, cut | side)
            && stream.onCCWArc({x - 10.0, y, z}, {x - 20.0, y, z}, normal, 900.0, cut | side)
            && stream.onLinear5D({x - 20.0, y, z + 0.125}, tool, 600.0, cut | NCStream::FLAG_END_CUTTING);
    }
    return ok && stream.onSectionEnd() && stream.onClose();
}

// Moves and bytes per second of each writer for the ratios, measured in processor time so that
// other work on a busy machine does not skew them.
struct Rate {
    double moves = 0.0;
    double bytes = 0.0;
};
std::map<std::string, Rate> rates;

// Sends the program through a writer into sink once per iteration; makeAndSend(sink) builds the
// writer and returns sendProgram's result.
template <class MakeAndSend> Rate measure(benchmark::State& state, char const* name, MakeAndSend makeAndSend)
{
    ByteSink sink;
    double seconds = 0.0;
    for (auto _ : state) {
        std::clock_t start = std::clock();
        bool ok = makeAndSend(sink);
        seconds += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        if (!ok)
            state.SkipWithError("the writer refused an event");
    }
    auto moves = static_cast<double>(state.iterations() * Moves);
    state.counters["moves"] = benchmark::Counter(moves, benchmark::Counter::kIsRate);
    state.counters["bytes"] = benchmark::Counter(static_cast<double>(sink.count), benchmark::Counter::kIsRate);
    return rates[name] = {moves / seconds, static_cast<double>(sink.count) / seconds};
}

bool sendXML(ByteSink& sink)
{
    XMLNCWriter writer(&sink);
    writer.setTimestamp(Timestamp);
    return sendProgram(writer, Moves);
}

// The log goes through FileLog's buffer into the counting sink, as it would into a file.
bool sendLog(ByteSink& sink)
{
    NCStreamDefaultImpl end;
    LogNCStream log(&end);
    log.getLog().open(&sink);
    return sendProgram(log, Moves);
}

void BM_XMLNCWriter(benchmark::State& state) { measure(state, "XMLNCWriter", sendXML); }
void BM_LibXml2TextWriter(benchmark::State& state)
{
    measure(state, "xmlTextWriter", [](ByteSink& sink) {
        LibXml2Writer writer(&sink);
        return sendProgram(writer, Moves);
    });
}

// Counter "vs_xml": the log's bytes per processor second over XMLNCWriter's (at least 0.5 is the
// aim). XMLNCWriter is measured here once when its own benchmark did not run before.
void BM_LogNCStream(benchmark::State& state)
{
    Rate log = measure(state, "LogNCStream", sendLog);
    if (!rates.contains("XMLNCWriter")) {
        ByteSink sink;
        std::clock_t start = std::clock();
        sendXML(sink);
        double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        rates["XMLNCWriter"] = {static_cast<double>(Moves) / seconds, static_cast<double>(sink.count) / seconds};
    }
    state.counters["vs_xml"] = log.bytes / rates["XMLNCWriter"].bytes;
}

// Writes the program through both writers into hashing sinks; true when the bytes are equal.
bool documentsAreEqual()
{
    ByteSink ours(true), theirs(true);
    XMLNCWriter writer(&ours);
    writer.setTimestamp(Timestamp);
    sendProgram(writer, Moves);
    LibXml2Writer reference(&theirs);
    sendProgram(reference, Moves);
    std::printf("Documents of %lld moves: XMLNCWriter %llu bytes, xmlTextWriter %llu bytes, %s\n",
        static_cast<long long>(Moves), static_cast<unsigned long long>(ours.count),
        static_cast<unsigned long long>(theirs.count), ours.hash == theirs.hash ? "identical" : "DIFFERENT");
    return ours.count == theirs.count && ours.hash == theirs.hash;
}

} // namespace

BENCHMARK(BM_XMLNCWriter)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LibXml2TextWriter)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LogNCStream)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (!documentsAreEqual())
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (rates.contains("XMLNCWriter") && rates.contains("xmlTextWriter"))
        std::printf("\nXMLNCWriter writes %.1f times the moves per second of xmlTextWriter\n",
            rates["XMLNCWriter"].moves / rates["xmlTextWriter"].moves);
    if (rates.contains("XMLNCWriter") && rates.contains("LogNCStream"))
        std::printf("LogNCStream writes %.2f times the bytes per second of XMLNCWriter (%.0f MB/s against %.0f MB/s)\n",
            rates["LogNCStream"].bytes / rates["XMLNCWriter"].bytes, rates["LogNCStream"].bytes / 1e6,
            rates["XMLNCWriter"].bytes / 1e6);
    return 0;
}
